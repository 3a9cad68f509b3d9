#pragma once
// The seven functions every component module exports, with C linkage, the C
// calling convention and undecorated names, and the one way other modules
// find them.

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

// Spelled out, because a module may be built with another default (stdcall
// on 32-bit Windows), and its caller must still agree on who pops the
// arguments. It goes between the result and the name, and before the * of a
// function pointer. x86_64 Windows has a single convention and ignores it.
#if defined(_WIN32)
#define ORVIK_CDECL __cdecl
#else
#define ORVIK_CDECL
#endif

#define ORVIK_DECLARE_EXPORT(ordinal, name, result, parameters) ORVIK_MODULE_EXPORT result ORVIK_CDECL name parameters;
ORVIK_MODULE_EXPORT_LIST(ORVIK_DECLARE_EXPORT)
#undef ORVIK_DECLARE_EXPORT

namespace Orvik {

// One type per export, naming it and giving its signature:
//   auto create = FindModuleExport<Exports::CreateComponent>(module);
namespace Exports {
#define ORVIK_DESCRIBE_EXPORT(ordinal, name, result, parameters) \
    struct name {                                                \
        using Function = result(ORVIK_CDECL*) parameters;        \
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
