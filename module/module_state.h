#pragma once
// The module-wide state behind the runtime and the exports. Internal to the
// module runtime.

#include <atomic>
#include <cstdint>

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

    // Written by every creation and release, so kept off the lines above,
    // which every creation and release reads: the lock and the map's own
    // fields share one line, so a thread that takes the lock finds the map
    // in its cache.
    //
    // The lock guards the live map and, with it, the decision that the
    // module is idle: the map's few instructions need no re-entrant lock,
    // and nothing calls out while it is held.
    alignas(64) ShortLock liveLock ORVIK_ACQUIRED_AFTER(lock);
    // Where the live map is built (module_runtime.cpp says when).
    alignas(LiveComponentMap) unsigned char liveMapStorage[sizeof(LiveComponentMap)] = {};
};
static_assert(sizeof(ShortLock) + sizeof(LiveComponentMap) <= 64, "the live map's lock and fields fit one line");

namespace Detail {
extern ModuleState g_moduleState;
extern LiveComponentMap* g_liveMap;
}  // namespace Detail

// Inline: every creation and release asks for both several times.
inline ModuleState& State() { return Detail::g_moduleState; }
// Null once the module's exit processing has destroyed it.
inline LiveComponentMap* LiveMap() ORVIK_REQUIRES(State().liveLock) { return Detail::g_liveMap; }

// Holds the live map's lock for its own lifetime.
class ORVIK_SCOPED_CAPABILITY LiveMapGuard : public ShortLockGuard {
public:
    LiveMapGuard() ORVIK_ACQUIRE(State().liveLock) : ShortLockGuard(State().liveLock) {}
    ~LiveMapGuard() ORVIK_RELEASE() = default;
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
