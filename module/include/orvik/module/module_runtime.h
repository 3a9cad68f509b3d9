#pragma once
/// \file
/// The bookkeeping every component module carries: its creator table, the
/// record of its live components, its lock and module-wide values. Each
/// module has its own copy; nothing here is shared between modules.

#include <cstddef>
#include <cstdint>

#include "orvik/module/component.h"
#include "orvik/platform/module_loader.h"

namespace Orvik {

/// Makes one component of a class; null on failure.
using CreatorFunction = IComponent* (*)();

/// The creator table's size.
constexpr uint32_t kMaxCreators = 512;
/// The size of a buffer that holds any registry path, terminator included.
constexpr int kRegistryPathSize = 260;

/// Adds a creator to the table; a full table, a zero id and a null creator
/// are dropped silently. Duplicate ids are kept (the first one wins).
void RegisterCreator(ComponentId componentId, CreatorFunction creator);
/// The first creator registered for the id; null when none.
CreatorFunction FindCreator(ComponentId componentId);

/// Called by Release once the component at that address is destroyed. When
/// the module has no live component left and requestUnload is set, the
/// factory is told that this module is idle.
void RemoveLiveComponent(const void* component, int32_t requestUnload);
/// RemoveLiveComponent for a component destroyed in memory from the global
/// operator new for an object of that alignment: the memory is freed as the
/// map forgets the address, under the same lock, so that no creation on
/// another thread can take the address while it is still listed.
void RemoveAndFreeComponent(const void* component, void* memory, size_t alignment, int32_t requestUnload);

/// Writes one line per component still live; releases nothing.
void ReportLeaks();

/// Enters the module lock, re-entrant for the thread that holds it. It
/// guards the module's own tables only and is never held while another
/// module's code runs.
void EnterModuleLock();
/// Leaves the module lock once for every EnterModuleLock.
void LeaveModuleLock();

/// While one lives, a thread runs module code on the framework's behalf (a
/// release and its idle notice, the release of the marked components): the
/// module does not agree to be unloaded meanwhile. A creation is guarded by
/// the room it holds in the live map from before its creator runs until the
/// component is recorded. What is left unguarded is the return from the
/// export after the scope has ended, a few instructions: the module can only
/// leave at a tick of the unload timer that asks it again after that, so a
/// thread would have to be held between those instructions for a whole
/// unload by another thread.
class ModuleCallScope {
public:
    /// A framework call begins.
    ModuleCallScope();
    /// It ends; the last one to end sends an idle notice that a refused
    /// unload left owing.
    ~ModuleCallScope();
    ModuleCallScope(const ModuleCallScope&) = delete;
    ModuleCallScope& operator=(const ModuleCallScope&) = delete;
};
/// The module has no live component and no thread inside a framework call:
/// what OrvikDllCanUnloadNow answers.
bool ModuleCanUnloadNow();
/// Releases (Release(0)) every live component marked for auto-release, in
/// address order, without holding the module lock during a release.
void ReleaseAutoReleasedComponents();

/// The module entry point: reason 1 on process attach, 0 on process detach.
/// Always reports success (1).
int32_t ModuleEntryPoint(Platform::ModuleHandle instance, uint32_t reason, void* reserved);
/// Ends the module's bookkeeping after the detach has run: the live map goes.
void FinishModuleExit();

/// This module's handle, as its process attach received it.
Platform::ModuleHandle ThisModuleHandle();
/// The factory module's handle given by SetFactoryHandle; null until then.
Platform::ModuleHandle FactoryModuleHandle();
/// The dll-safe flag: set when the module lock is made, changed by
/// OrvikSetDllSafe. While it is false no Release of this module's
/// components does anything.
bool IsDllSafe();
/// Copies the registry path (the configuration name the module was given,
/// see registry_path.h); an empty buffer when it does not fit.
void CopyRegistryPath(char* buffer, int32_t size);

}  // namespace Orvik
