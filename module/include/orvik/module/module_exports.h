#pragma once
// The seven functions every component module exports, with C linkage and
// undecorated names, and the one way other modules find them.

#include <cstdint>

#include "orvik/module/component.h"
#include "orvik/module/module_export_list.h"
#include "orvik/platform/module_loader.h"

#if defined(_WIN32)
// The module definition file exports them, with their ordinals.
#define ORVIK_MODULE_EXPORT extern "C"
#else
#define ORVIK_MODULE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

#define ORVIK_DECLARE_EXPORT(ordinal, name, result, parameters) ORVIK_MODULE_EXPORT result name parameters;
ORVIK_MODULE_EXPORT_LIST(ORVIK_DECLARE_EXPORT)
#undef ORVIK_DECLARE_EXPORT

namespace Orvik {

// One type per export, naming it and giving its signature:
//   auto create = FindModuleExport<Exports::CreateComponent>(module);
namespace Exports {
#define ORVIK_DESCRIBE_EXPORT(ordinal, name, result, parameters) \
    struct name {                                                \
        using Function = result(*) parameters;                   \
        static constexpr const char* kName = #name;              \
    };
ORVIK_MODULE_EXPORT_LIST(ORVIK_DESCRIBE_EXPORT)
#undef ORVIK_DESCRIBE_EXPORT
}  // namespace Exports

// The export of that module, typed; null when it has none (last error 127)
// or the handle names no loaded module.
template <class Export>
typename Export::Function FindModuleExport(Platform::ModuleHandle module)
{
    return reinterpret_cast<typename Export::Function>(Platform::FindExport(module, Export::kName));
}

}  // namespace Orvik
