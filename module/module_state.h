#pragma once
// The module-wide state behind the runtime and the exports. Internal to the
// module runtime.

#include <atomic>
#include <cstdint>
#include <map>

#include "orvik/module/module_runtime.h"
#include "orvik/platform/lock.h"

namespace Orvik {

struct ComponentInstanceInfo {
    int32_t componentId;  // the id asked for
    CreatorId creatorId;
    IComponent* pointer;  // equal to its key
};

// Ordered by address: the leak report lists components in that order.
using LiveComponentMap = std::map<const void*, ComponentInstanceInfo>;

struct CreatorEntry {
    ComponentId componentId;
    CreatorFunction creator;
};

struct ModuleState {
    Platform::ModuleHandle module = nullptr;
    std::atomic<Platform::ModuleHandle> factoryModule{nullptr};
    std::atomic<int32_t> dllSafe{0};
    // Threads inside a ModuleCallScope. The last one out leaves under the
    // module lock, so that OrvikDllCanUnloadNow sees it come or go whole.
    std::atomic<int32_t> callsInProgress{0};
    // The module was idle but busy when asked to unload, and was dropped:
    // the last call out tells the factory again (module lock).
    int32_t idleNoticeOwed = 0;
    int32_t lockInitialised = 0;
    Platform::CriticalSection lock{};
    CreatorEntry creators[kMaxCreators] = {};
    // Written under the lock after the entry it shows, so readers need none.
    std::atomic<uint32_t> creatorCount{0};
};

ModuleState& State();
// Null once the module's exit processing has destroyed it.
LiveComponentMap* LiveMap();

// RAII guard for the module lock.
class ModuleLockGuard {
public:
    ModuleLockGuard() { EnterModuleLock(); }
    ~ModuleLockGuard() { LeaveModuleLock(); }
    ModuleLockGuard(const ModuleLockGuard&) = delete;
    ModuleLockGuard& operator=(const ModuleLockGuard&) = delete;
};

}  // namespace Orvik
