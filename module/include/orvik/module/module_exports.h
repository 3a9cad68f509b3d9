#pragma once
/// \file
/// The seven functions every component module exports, with C linkage, the C
/// calling convention and undecorated names, and the one way other modules
/// find them. Modules built by other compilers keep \ref compilers "these rules".

#include <cstdint>

#include "orvik/module/component.h"
#include "orvik/module/module_export_list.h"
#include "orvik/platform/module_loader.h"

/// What each export's declaration begins with: C linkage, and on ELF
/// default visibility in a module built with hidden visibility.
#if defined(_WIN32)
// The module definition file exports them, with their ordinals.
#define ORVIK_MODULE_EXPORT extern "C"
#else
#define ORVIK_MODULE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

/// The C calling convention of the seven exports and their function types
/// (`__cdecl` on Windows). Spelled out, because a module may be built with
/// another default (stdcall on 32-bit Windows), and its caller must still
/// agree on who pops the arguments. It goes between the result and the name,
/// and before the * of a function pointer. x86_64 Windows has a single
/// convention and ignores it.
#if defined(_WIN32)
#define ORVIK_CDECL __cdecl
#else
#define ORVIK_CDECL
#endif

#define ORVIK_DECLARE_EXPORT(ordinal, name, result, parameters) ORVIK_MODULE_EXPORT result ORVIK_CDECL name parameters;
ORVIK_MODULE_EXPORT_LIST(ORVIK_DECLARE_EXPORT)
#undef ORVIK_DECLARE_EXPORT

/// \fn Orvik::IComponent* CreateComponent(int32_t componentId, uint32_t creatorId)
/// Makes a component with the first creator registered for componentId and
/// records it among the module's live components. creatorId says who asks:
/// 361 a catalog of the factory, 0 the bootstrap or a host. Null, with two
/// debug lines, when no creator is registered for the id or the creator
/// fails.
///
/// \fn int32_t SetDLLRegistry(const char* path)
/// Makes path the module's registry path, the configuration its own
/// requests name; null or a path of 260 characters or more makes it empty.
/// Returns 0.
///
/// \fn void OrvikDllFreeMap()
/// Releases, with Release(0), every live component of the module that
/// carries the auto-release mark; those that ignore Release(0) stay.
///
/// \fn int32_t OrvikDllCanUnloadNow()
/// 1 when the module has no live component and no thread inside a
/// framework call, else 0.
///
/// \fn void SetFactoryHandle(Orvik::Platform::ModuleHandle handle)
/// The factory module's handle, from which the module's bootstrap obtains
/// the factory (FactoryModuleSource::GivenHandle).
///
/// \fn void OrvikSetDllSafe(int32_t flag)
/// Sets the module's dll-safe flag: while it is 0, Release of the module's
/// components does nothing.
///
/// \fn int32_t GetComponentIDs(uint32_t* ids, int32_t max)
/// Writes the ids of the module's registered creators, in registration
/// order, into ids, at most max of them. Returns how many creators are
/// registered, more than it wrote when max is smaller.

namespace Orvik {

/// One type per export, naming it and giving its signature:
/// \code
///   auto create = FindModuleExport<Exports::CreateComponent>(module);
/// \endcode
namespace Exports {
#define ORVIK_DESCRIBE_EXPORT(ordinal, name, result, parameters) \
    /** Describes the export name. */                            \
    struct name {                                                \
        /** The export's signature. */                           \
        using Function = result(ORVIK_CDECL*) parameters;        \
        /** What the export is looked up by. */                  \
        static constexpr const char* kName = #name;              \
    };
ORVIK_MODULE_EXPORT_LIST(ORVIK_DESCRIBE_EXPORT)
#undef ORVIK_DESCRIBE_EXPORT
}  // namespace Exports

/// The export of that module, typed; null when it has none (last error 127)
/// or the handle names no loaded module.
template <class Export>
typename Export::Function FindModuleExport(Platform::ModuleHandle module)
{
    return reinterpret_cast<typename Export::Function>(Platform::FindExport(module, Export::kName));
}

}  // namespace Orvik
