#pragma once
// The module-wide state behind the runtime and the exports. Internal to the
// module runtime.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>

#include "module/live_component_map.h"
#include "module/short_lock.h"
#include "orvik/module/module_runtime.h"
#include "orvik/platform/lock.h"
#include "orvik/platform/thread_annotations.h"

namespace Orvik {

struct CreatorEntry {
    ComponentId componentId;
    CreatorFunction creator;
};

// The live-component map is spread over shards by component address, each
// with its own lock on a line of its own: threads that make and release
// components of one module then take different locks and write different
// lines. The map is empty when every shard is. Written by every creation
// and release, so kept off the lines of what they only read. Two threads
// whose components fall into one shard fight over its line for as long as
// their allocator hands them those addresses again: 64 shards make that a
// rare pairing. Windows modules, built for size, keep 16: their zeroed
// state takes room in the file (each shard a line of it).
#if defined(_WIN32)
constexpr unsigned kLiveShardBits = 4;
#else
constexpr unsigned kLiveShardBits = 6;
#endif
constexpr size_t kLiveShards = size_t{1} << kLiveShardBits;
struct alignas(64) LiveShard {
    // Guards the shard's map and, for a release that empties the shard, the
    // decision that the module is idle: the map's few instructions need no
    // re-entrant lock, and nothing calls out while it is held.
    ShortLock lock;
    // The map's entries, stored under the lock; read without it by a release
    // that looks whether the other shards are empty.
    std::atomic<uint32_t> entries{0};
    // Where the shard's map is built (module_runtime.cpp says when).
    alignas(LiveComponentMap) unsigned char storage[sizeof(LiveComponentMap)] ORVIK_GUARDED_BY(lock) = {};
};
static_assert(sizeof(LiveShard) == 64, "a shard's lock, count and map fields fit one line");

struct ModuleState {
    Platform::ModuleHandle module = nullptr;
    std::atomic<Platform::ModuleHandle> factoryModule{nullptr};
    std::atomic<int32_t> dllSafe{0};
    // Threads inside a ModuleCallScope (in units of kOneCall), and in the
    // low bit whether the module was idle but busy when asked to unload, and
    // was dropped: the last call out then tells the factory again. One word,
    // so that a call leaves and OrvikDllCanUnloadNow owes the notice in one
    // order or the other, without the module lock on every call.
    static constexpr uint32_t kIdleNoticeOwed = 1;
    static constexpr uint32_t kOneCall = 2;
    std::atomic<uint32_t> calls{0};
    int32_t lockInitialised = 0;
    Platform::CriticalSection lock{};
    CreatorEntry creators[kMaxCreators] ORVIK_GUARDED_BY(lock) = {};
    // Written under the lock after the entry it shows, so readers need none.
    std::atomic<uint32_t> creatorCount{0};

    // The live components, spread over shards by address.
    LiveShard liveShards[kLiveShards];
    // A shard last seen holding entries: a release that empties its own
    // shard looks there first for proof that the module is still in use.
    std::atomic<uint32_t> busyShardHint{0};
    // The shards' tables exist (made by the module's first creation).
    std::atomic<bool> liveTablesMade{false};
};

namespace Detail {
extern ModuleState g_moduleState;
// False before the shards' maps are built and once the module's exit
// processing has destroyed them.
extern bool g_liveMapsBuilt;
}  // namespace Detail

// Inline: every creation and release asks for it several times.
inline ModuleState& State() { return Detail::g_moduleState; }

// The shard that holds the entry of a component at that address.
inline LiveShard& ShardOf(const void* component)
{
    // Fibonacci hashing: the high bits of the product spread addresses that
    // differ only in their low bits.
    const uint64_t product = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(component)) * 0x9E3779B97F4A7C15ull;
    return State().liveShards[product >> (64 - kLiveShardBits)];
}

// The shard's map, whoever holds its lock; null outside the maps' lifetime.
// Unchecked: callers are MapOf and AllShardsGuard::MapOf.
inline LiveComponentMap* MapIn(LiveShard& shard) ORVIK_NO_THREAD_SAFETY_ANALYSIS
{
    return Detail::g_liveMapsBuilt ? std::launder(reinterpret_cast<LiveComponentMap*>(shard.storage)) : nullptr;
}

// The shard's map, under the shard's lock.
inline LiveComponentMap* MapOf(LiveShard& shard) ORVIK_REQUIRES(shard.lock) { return MapIn(shard); }

// Makes every shard's first table, once, so that recording a component
// needs memory only to grow a table. May throw std::bad_alloc.
void MakeEveryLiveTable();
inline void MakeLiveTables()
{
    if (!State().liveTablesMade.load(std::memory_order_acquire)) MakeEveryLiveTable();
}
// Records a component made, or replaces its entry; false when its shard is
// full and cannot grow.
bool RecordLiveComponent(const ComponentInstanceInfo& info);

// Holds one shard's lock for its own lifetime.
class ORVIK_SCOPED_CAPABILITY ShardGuard : public ShortLockGuard {
public:
    explicit ShardGuard(LiveShard& shard) ORVIK_ACQUIRE(shard.lock) : ShortLockGuard(shard.lock) {}
    ~ShardGuard() ORVIK_RELEASE() = default;
};

// Holds every shard's lock, taken in the shards' order, for its own
// lifetime: for what looks at the whole map. The analysis cannot follow a
// loop of locks, so the maps are reached through the guard itself, which
// proves them held.
class AllShardsGuard {
public:
    AllShardsGuard() ORVIK_NO_THREAD_SAFETY_ANALYSIS
    {
        for (LiveShard& shard : State().liveShards) shard.lock.lock();
    }
    ~AllShardsGuard() ORVIK_NO_THREAD_SAFETY_ANALYSIS
    {
        for (LiveShard& shard : State().liveShards) shard.lock.unlock();
    }
    AllShardsGuard(const AllShardsGuard&) = delete;
    AllShardsGuard& operator=(const AllShardsGuard&) = delete;

    LiveComponentMap* MapOf(LiveShard& shard) const { return MapIn(shard); }
};

// The module lock as the module's own code sees it (the public declarations
// cannot name it).
void EnterModuleLock() ORVIK_ACQUIRE(State().lock);
void LeaveModuleLock() ORVIK_RELEASE(State().lock);

// RAII guard for the module lock.
class ORVIK_SCOPED_CAPABILITY ModuleLockGuard {
public:
    ModuleLockGuard() ORVIK_ACQUIRE(State().lock) { EnterModuleLock(); }
    ~ModuleLockGuard() ORVIK_RELEASE() { LeaveModuleLock(); }
    ModuleLockGuard(const ModuleLockGuard&) = delete;
    ModuleLockGuard& operator=(const ModuleLockGuard&) = delete;
};

}  // namespace Orvik
