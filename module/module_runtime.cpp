#include "orvik/module/module_runtime.h"

#include <cinttypes>
#include <new>

#include "orvik/module/debug_line.h"
#include "orvik/module/factory_notices.h"
#include "module/module_state.h"
#include "orvik/module/registry_path.h"
#include "orvik/util/bootstrap_helpers.h"

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
    const uint32_t count = state.creatorCount.load(std::memory_order_relaxed);
    if (count >= kMaxCreators || componentId == 0 || creator == nullptr) return;
    state.creators[count] = CreatorEntry{componentId, creator};
    state.creatorCount.store(count + 1, std::memory_order_release);
}

CreatorFunction FindCreator(ComponentId componentId)
{
    // The table only grows, and an entry is complete before the count shows
    // it: the lookup needs no lock.
    const ModuleState& state = State();
    const uint32_t count = state.creatorCount.load(std::memory_order_acquire);
    for (uint32_t i = 0; i < count; ++i) {
        if (state.creators[i].componentId == componentId) return state.creators[i].creator;
    }
    return nullptr;
}

namespace {

bool NoLiveComponent()
{
    const LiveComponentMap* live = LiveMap();
    return live == nullptr || live->empty();
}

// The last call leaves the module. When an unload was refused meanwhile only
// because of calls in progress, the factory dropped the module: it is told
// again, from inside a call, so that it tries once more at a later tick.
void LeaveLastCall(ModuleState& state)
{
    for (;;) {
        bool notify = false;
        {
            ModuleLockGuard guard;
            const bool last = state.callsInProgress.fetch_sub(1) == 1;
            if (last && state.idleNoticeOwed != 0) {
                state.idleNoticeOwed = 0;
                notify = NoLiveComponent();
                if (notify) state.callsInProgress.fetch_add(1);
            }
        }
        if (!notify) return;
        SendIdleNotice(state.module);
    }
}

}  // namespace

ModuleCallScope::ModuleCallScope() { State().callsInProgress.fetch_add(1); }

ModuleCallScope::~ModuleCallScope()
{
    ModuleState& state = State();
    int32_t calls = state.callsInProgress.load();
    // Not the last one inside: the last one settles what is owed.
    while (calls > 1) {
        if (state.callsInProgress.compare_exchange_weak(calls, calls - 1)) return;
    }
    LeaveLastCall(state);
}

bool ModuleCanUnloadNow()
{
    ModuleLockGuard guard;
    if (!NoLiveComponent()) return false;
    ModuleState& state = State();
    if (state.callsInProgress.load() == 0) return true;
    state.idleNoticeOwed = 1;
    return false;
}

void RemoveLiveComponent(const void* component, int32_t requestUnload)
{
    bool idle = false;
    {
        ModuleLockGuard guard;
        LiveComponentMap* live = LiveMap();
        if (live == nullptr) return;  // the module is past its exit processing
        if (live->erase(component) == 0) {
            OutputDebugLine("Orvik[Error]: To remove a component not exist\n");
            OutputDebugLine("Orvik[Error]: IComponent* = 0x%0*" PRIXPTR "\n", static_cast<int>(2 * sizeof(void*)),
                            reinterpret_cast<uintptr_t>(component));
        }
        idle = live->empty();
    }
    // The factory is told without the module lock: it may be unloading
    // other modules meanwhile, which needs the loader, whose holder may be
    // waiting for this module's lock. The caller's ModuleCallScope keeps the
    // module from being unloaded before this returns.
    if (idle && requestUnload != 0) SendIdleNotice(State().module);
}

void ReleaseAutoReleasedComponents()
{
    // A release removes its entry and may remove others (a component that
    // owns components), so the walk starts again whenever the entry went
    // away, and goes on after it when it stayed.
    const void* last = nullptr;
    bool fromStart = true;
    for (;;) {
        IComponent* component = nullptr;
        {
            ModuleLockGuard guard;
            const LiveComponentMap* live = LiveMap();
            if (live == nullptr) return;
            for (auto entry = fromStart ? live->begin() : live->upper_bound(last); entry != live->end(); ++entry) {
                if (entry->second.pointer->GetAutoRelease() == 0) continue;
                last = entry->first;
                component = entry->second.pointer;
                break;
            }
        }
        if (component == nullptr) return;
        component->Release(0);
        ModuleLockGuard guard;
        const LiveComponentMap* live = LiveMap();
        fromStart = live == nullptr || live->count(last) == 0;
    }
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
    ForgetRegistryPaths();
}

Platform::ModuleHandle ThisModuleHandle() { return State().module; }

Platform::ModuleHandle FactoryModuleHandle() { return State().factoryModule; }

bool IsDllSafe() { return State().dllSafe != 0; }

void CopyRegistryPath(char* buffer, int32_t size)
{
    if (buffer == nullptr || size < 1) return;
    buffer[0] = '\0';
    CopyString(buffer, size, RegistryPath());
}

}  // namespace Orvik
