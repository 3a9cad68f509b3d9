#include "module/module_runtime.h"

#include <cinttypes>
#include <new>

#include "bootstrap/factory_bootstrap.h"
#include "module/debug_line.h"
#include "module/module_state.h"
#include "util/bootstrap_helpers.h"

namespace Orvik {

namespace {

// The live map is built before any other static object of the module (so
// the registrars find it) and destroyed only by FinishModuleExit, after the
// detach's leak report: never by the run-time's own exit processing, whose
// order differs between unloading a module and ending the process.
alignas(LiveComponentMap) unsigned char g_liveMapStorage[sizeof(LiveComponentMap)];
LiveComponentMap* g_liveMap = nullptr;

struct LiveMapBuilder {
    LiveMapBuilder() { g_liveMap = new (g_liveMapStorage) LiveComponentMap; }
};
LiveMapBuilder g_liveMapBuilder __attribute__((init_priority(101)));

void InitialiseModuleLock(ModuleState& state)
{
    if (state.lockInitialised != 0) return;
    Platform::InitializeLock(&state.lock);
    state.lockInitialised = 1;
    state.dllSafe = 1;
}

}  // namespace

namespace {
// Constant-initialised, so usable by any static object's constructor.
ModuleState g_state;
}  // namespace

ModuleState& State() { return g_state; }

LiveComponentMap* LiveMap() { return g_liveMap; }

void EnterModuleLock()
{
    ModuleState& state = State();
    InitialiseModuleLock(state);
    Platform::EnterLock(&state.lock);
}

void LeaveModuleLock() { Platform::LeaveLock(&State().lock); }

void RegisterCreator(ComponentId componentId, CreatorFunction creator)
{
    ModuleLockGuard guard;
    ModuleState& state = State();
    if (state.creatorCount >= kMaxCreators || componentId == 0 || creator == nullptr) return;
    state.creators[state.creatorCount++] = CreatorEntry{componentId, creator};
}

CreatorFunction FindCreator(ComponentId componentId)
{
    ModuleLockGuard guard;
    const ModuleState& state = State();
    for (uint32_t i = 0; i < state.creatorCount; ++i) {
        if (state.creators[i].componentId == componentId) return state.creators[i].creator;
    }
    return nullptr;
}

void RemoveLiveComponent(const void* component, int32_t requestUnload)
{
    ModuleLockGuard guard;
    LiveComponentMap* live = LiveMap();
    if (live == nullptr) return;  // the module is past its exit processing
    if (live->erase(component) == 0) {
        OutputDebugLine("Orvik[Error]: To remove a component not exist\n");
        OutputDebugLine("Orvik[Error]: IComponent* = 0x%0*" PRIXPTR "\n", static_cast<int>(2 * sizeof(void*)),
                        reinterpret_cast<uintptr_t>(component));
    }
    if (live->empty() && requestUnload != 0) SendIdleNotice(State().module);
}

void ReportLeaks()
{
    ModuleLockGuard guard;
    const LiveComponentMap* live = LiveMap();
    if (live == nullptr || live->empty()) return;
    static const char kSeparator[] = "Orvik[Error]:=================================================================\n";
    OutputDebugLine("%s", kSeparator);
    OutputDebugLine("Orvik[Error]:Found leak Orvik components. Count:%d\n", static_cast<int>(live->size()));
    for (const auto& entry : *live) {
        // The pointer is written in full on 64-bit systems.
        OutputDebugLine("Orvik[Error]:ComponentID:0x%08x CreatorID:0x%08x Pointer:0x%08" PRIxPTR "\n",
                        static_cast<unsigned>(entry.second.componentId), entry.second.creatorId,
                        reinterpret_cast<uintptr_t>(entry.second.pointer));
    }
    OutputDebugLine("%s", kSeparator);
}

int32_t ModuleEntryPoint(Platform::ModuleHandle instance, uint32_t reason, void*)
{
    ModuleState& state = State();
    if (reason == 1) {
        state.module = instance;
        InitialiseModuleLock(state);
    } else if (reason == 0 && state.lockInitialised != 0) {
        ReportLeaks();
        Platform::DeleteLock(&state.lock);
        state.lockInitialised = 0;
    }
    return 1;
}

void FinishModuleExit()
{
    if (g_liveMap == nullptr) return;
    g_liveMap->~LiveComponentMap();
    g_liveMap = nullptr;
}

Platform::ModuleHandle ThisModuleHandle() { return State().module; }

Platform::ModuleHandle FactoryModuleHandle() { return State().factoryModule; }

bool IsDllSafe() { return State().dllSafe != 0; }

void CopyRegistryPath(char* buffer, int32_t size)
{
    if (buffer == nullptr || size < 1) return;
    ModuleLockGuard guard;
    buffer[0] = '\0';
    CopyString(buffer, size, State().registryPath);
}

}  // namespace Orvik
