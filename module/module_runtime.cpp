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

// The live maps are built before any other static object of the module (so
// the registrars find them) and destroyed only by FinishModuleExit, after
// the detach's leak report: never by the run-time's own exit processing,
// whose order differs between unloading a module and ending the process.
struct LiveMapBuilder {
    LiveMapBuilder()
    {
        for (LiveShard& shard : Detail::g_moduleState.liveShards) new (shard.storage) LiveComponentMap;
        Detail::g_liveMapsBuilt = true;
    }
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

// Constant-initialised, so usable by any static object's constructor.
ModuleState Detail::g_moduleState;
bool Detail::g_liveMapsBuilt = false;

void EnterModuleLock()
{
    ModuleState& state = State();
    InitialiseModuleLock(state);
    Platform::EnterLock(&State().lock);
}

void LeaveModuleLock() { Platform::LeaveLock(&State().lock); }

void RegisterCreator(ComponentId componentId, CreatorFunction creator)
{
    ModuleLockGuard guard;
    ModuleState& state = State();
    const uint32_t count = state.creatorCount.load(std::memory_order_relaxed);
    if (count >= kMaxCreators || componentId == 0 || creator == nullptr) return;
    State().creators[count] = CreatorEntry{componentId, creator};
    state.creatorCount.store(count + 1, std::memory_order_release);
}

// Reads the table without the lock that guards its writers, on purpose.
CreatorFunction FindCreator(ComponentId componentId) ORVIK_NO_THREAD_SAFETY_ANALYSIS
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

// No live component; under every shard's lock.
bool NoLiveComponent()
{
    for (const LiveShard& shard : State().liveShards) {
        if (shard.entries.load(std::memory_order_relaxed) != 0) return false;
    }
    return true;
}

// The last call out settles an idle notice that a refused unload left
// owing: it stays inside while it tells the factory, so that the module
// cannot be unloaded under it, and leaves again afterwards.
void SettleOwedNotice(ModuleState& state)
{
    bool notify = false;
    {
        const AllShardsGuard guard;
        notify = NoLiveComponent();
    }
    if (notify) SendIdleNotice(state.module);
}

}  // namespace

namespace {

void EnterCall(ModuleState& state) { state.calls.fetch_add(ModuleState::kOneCall); }

void LeaveCall(ModuleState& state)
{
    uint32_t calls = state.calls.load();
    for (;;) {
        if (calls == (ModuleState::kOneCall | ModuleState::kIdleNoticeOwed)) {
            // The last one out takes the debt over and stays for it.
            if (!state.calls.compare_exchange_weak(calls, ModuleState::kOneCall)) continue;
            SettleOwedNotice(state);
            calls = state.calls.load();
            continue;
        }
        if (state.calls.compare_exchange_weak(calls, calls - ModuleState::kOneCall)) return;
    }
}

}  // namespace

ModuleCallScope::ModuleCallScope() { EnterCall(State()); }

ModuleCallScope::~ModuleCallScope() { LeaveCall(State()); }

bool ModuleCanUnloadNow()
{
    const AllShardsGuard guard;
    if (!NoLiveComponent()) return false;
    // Either the last call has left, or it will find the debt as it leaves.
    ModuleState& state = State();
    uint32_t calls = state.calls.load();
    for (;;) {
        if (calls < ModuleState::kOneCall) return true;
        if (state.calls.compare_exchange_weak(calls, calls | ModuleState::kIdleNoticeOwed)) return false;
    }
}

namespace {

// Memory from the global operator new for an object of that alignment.
void FreeMemory(void* memory, size_t alignment)
{
    if (alignment > __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
        ::operator delete(memory, std::align_val_t(alignment));
    } else {
        ::operator delete(memory);
    }
}

}  // namespace

void RemoveLiveComponent(const void* component, int32_t requestUnload)
{
    RemoveAndFreeComponent(component, nullptr, 1, requestUnload);
}

namespace {

// Whether every shard but the one held is empty, seen without their locks.
// A release that empties its shard asks. Counts are stored before they are
// compared, all in one order: of two releases that empty two shards at
// once, at least one sees both empty.
bool OtherShardsEmpty(const LiveShard& held)
{
    ModuleState& state = State();
    // The shard that held entries last time nearly always still does: a
    // long-lived component keeps its module in use.
    const uint32_t hint = state.busyShardHint.load(std::memory_order_relaxed);
    if (&state.liveShards[hint] != &held && state.liveShards[hint].entries.load() != 0) return false;
    for (uint32_t i = 0; i < kLiveShards; ++i) {
        const LiveShard& shard = state.liveShards[i];
        if (&shard == &held || shard.entries.load() == 0) continue;
        if (i != hint) state.busyShardHint.store(i, std::memory_order_relaxed);
        return false;
    }
    return true;
}

// The lowest entry above `after` over all the shards whose component pick
// holds.
template <class Predicate>
const ComponentInstanceInfo* LowestEntryAbove(const AllShardsGuard& all, const void* after, bool fromStart,
                                              Predicate pick)
{
    const ComponentInstanceInfo* lowest = nullptr;
    for (LiveShard& shard : State().liveShards) {
        const ComponentInstanceInfo* found = all.MapOf(shard)->LowestAbove(after, fromStart, pick);
        if (found == nullptr) continue;
        if (lowest == nullptr || reinterpret_cast<uintptr_t>(found->pointer) < reinterpret_cast<uintptr_t>(lowest->pointer)) {
            lowest = found;
        }
    }
    return lowest;
}

}  // namespace

void MakeEveryLiveTable()
{
    ModuleState& state = State();
    const AllShardsGuard all;
    if (!Detail::g_liveMapsBuilt || state.liveTablesMade.load(std::memory_order_relaxed)) return;
    for (LiveShard& shard : state.liveShards) all.MapOf(shard)->MakeFirstTable();
    state.liveTablesMade.store(true, std::memory_order_release);
}

bool RecordLiveComponent(const ComponentInstanceInfo& info)
{
    LiveShard& shard = ShardOf(info.pointer);
    const ShardGuard guard(shard);
    LiveComponentMap* live = MapOf(shard);
    if (live == nullptr) return true;  // none past the module's exit processing
    try {
        live->Insert(info);
    } catch (const std::bad_alloc&) {
        return false;
    }
    shard.entries.store(static_cast<uint32_t>(live->size()), std::memory_order_release);
    return true;
}

void RemoveAndFreeComponent(const void* component, void* memory, size_t alignment, int32_t requestUnload)
{
    ModuleState& state = State();
    LiveShard& shard = ShardOf(component);
    bool listed = false;
    bool notify = false;
    {
        const ShardGuard guard(shard);
        LiveComponentMap* live = MapOf(shard);
        listed = live == nullptr || live->Erase(component);  // none past the module's exit processing
        FreeMemory(memory, alignment);
        if (live != nullptr) {
            // Stored in the one order of all the shards' counts when the
            // shard is left empty (see OtherShardsEmpty).
            const uint32_t entries = static_cast<uint32_t>(live->size());
            shard.entries.store(entries, entries == 0 ? std::memory_order_seq_cst : std::memory_order_release);
            notify = entries == 0 && requestUnload != 0 && OtherShardsEmpty(shard);
        }
        // A module that falls idle is in use until its notice is sent:
        // counted before its shard shows it empty to anybody else.
        if (notify) EnterCall(state);
    }
    if (!listed) {
        OutputDebugLine("Orvik[Error]: To remove a component not exist\n");
        OutputDebugLine("Orvik[Error]: IComponent* = 0x%0*" PRIXPTR "\n", static_cast<int>(2 * sizeof(void*)),
                        reinterpret_cast<uintptr_t>(component));
    }
    if (!notify) return;
    // The factory is told without the shard's lock: it may be unloading
    // other modules meanwhile, which needs the loader.
    struct Leaving {
        ModuleState& state;
        ~Leaving() { LeaveCall(state); }
    } leaving{state};
    SendIdleNotice(state.module);
}

void ReleaseAutoReleasedComponents()
{
    // A release removes its entry and may remove others (a component that
    // owns components), so each step looks again for the lowest address
    // above the last one released.
    const void* last = nullptr;
    bool fromStart = true;
    for (;;) {
        IComponent* component = nullptr;
        {
            // GetAutoRelease is the component's own field, read in place.
            const AllShardsGuard all;
            if (!Detail::g_liveMapsBuilt) return;
            const ComponentInstanceInfo* entry = LowestEntryAbove(
                all, last, fromStart, [](IComponent* candidate) { return candidate->GetAutoRelease() != 0; });
            if (entry != nullptr) component = entry->pointer;
        }
        if (component == nullptr) return;
        last = component;
        component->Release(0);
        LiveShard& shard = ShardOf(last);
        const ShardGuard guard(shard);
        const LiveComponentMap* live = MapOf(shard);
        fromStart = live == nullptr || !live->Contains(last);
    }
}

void ReportLeaks()
{
    // The lines are written under the shards' locks: the report runs as the
    // module ends, when no framework call is under way, and the walk needs
    // the map to stay as it is.
    const AllShardsGuard all;
    if (!Detail::g_liveMapsBuilt) return;
    size_t count = 0;
    for (LiveShard& shard : State().liveShards) count += all.MapOf(shard)->size();
    if (count == 0) return;
    static const char kSeparator[] = "Orvik[Error]:=================================================================\n";
    OutputDebugLine("%s", kSeparator);
    OutputDebugLine("Orvik[Error]:Found leak Orvik components. Count:%d\n", static_cast<int>(count));
    const auto any = [](IComponent*) { return true; };
    for (const ComponentInstanceInfo* entry = LowestEntryAbove(all, nullptr, true, any); entry != nullptr;
         entry = LowestEntryAbove(all, entry->pointer, false, any)) {
        // The pointer is written in full on 64-bit systems.
        OutputDebugLine("Orvik[Error]:ComponentID:0x%08x CreatorID:0x%08x Pointer:0x%08" PRIxPTR "\n",
                        static_cast<unsigned>(entry->componentId), entry->creatorId,
                        reinterpret_cast<uintptr_t>(entry->pointer));
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
    if (!Detail::g_liveMapsBuilt) return;
    {
        const AllShardsGuard all;
        for (LiveShard& shard : State().liveShards) all.MapOf(shard)->~LiveComponentMap();
    }
    Detail::g_liveMapsBuilt = false;
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
