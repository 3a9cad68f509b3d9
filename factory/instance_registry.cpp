#include <algorithm>
#include <utility>

#include "catalog/trace_gate.h"
#include "orvik/bootstrap/orvik_ptr.h"
#include "factory/component_factory.h"

namespace Orvik {

namespace {
constexpr uint32_t kUnloadDelayMs = 100;
}  // namespace

void COrvikComponentFactory::ListInstance(IComponent* instance)
{
    if (listedInstances_.Contains(instance)) return;
    // Whatever needs memory comes first: an instance is either listed
    // everywhere or nowhere.
    registeredList_.reserve(registeredList_.size() + 1);
    listedInstances_.Insert(instance);
    registeredList_.push_back(instance);
}

void COrvikComponentFactory::RegisterInstance(ComponentId id, IComponent* instance)
try {
    // The factory never registers itself: releasing the registered
    // instances would destroy it in the middle of the walk.
    if (instance == nullptr || instance == this) return;
    const StateGuard guard(stateLock_);
    // An instance handed out by id is always listed, so that no smart
    // pointer releases it: the map's room first, the entry last.
    registeredInstances_.ReserveOneMore();
    ListInstance(instance);
    registeredInstances_.Set(id, instance);
} catch (...) {
}

void COrvikComponentFactory::AddRegisteredInstance(IComponent* instance)
try {
    if (instance == nullptr || instance == this) return;
    const StateGuard guard(stateLock_);
    ListInstance(instance);
} catch (...) {
}

int32_t COrvikComponentFactory::IsRegisteredInstance(IComponent* instance)
{
    // Read without the state lock: the set only grows, and each smart
    // pointer asks it at every release.
    return listedInstances_.Contains(instance) ? 1 : 0;
}

void COrvikComponentFactory::ReleaseRegisteredInstances()
try {
    // Released instances stay listed, so smart pointers still leave them
    // alone, but they are never handed out or released again: the list
    // keeps null in their place. The list only grows, at its end: instances
    // listed during the walk stay. Nothing here needs memory, so no instance
    // is left unreleased for the lack of it.
    size_t index = 0;
    {
        const StateGuard guard(stateLock_);
        index = registeredList_.size();
    }
    while (index-- > 0) {
        IComponent* instance = nullptr;
        {
            const StateGuard guard(stateLock_);
            instance = std::exchange(registeredList_[index], nullptr);
            if (instance == nullptr) continue;
            registeredInstances_.EraseIf(
                [instance](ComponentId, IComponent* registered) { return registered == instance; });
        }
        // Released without the lock: the instance may call the factory. One
        // whose release throws does not keep the others alive.
        try {
            instance->Release(1);
        } catch (...) {
        }
    }
} catch (...) {
}

void COrvikComponentFactory::NotifyModuleIdle(Platform::ModuleHandle module)
try {
    const StateGuard guard(stateLock_);
    if (Trace::Active()) Trace::Module(kOrvikTraceIdleNotice, module, "", nullptr);
    const auto at = std::lower_bound(pendingModules_.begin(), pendingModules_.end(), module, HandleOrder{});
    if (at == pendingModules_.end() || *at != module) pendingModules_.insert(at, module);
    ForEachCatalog([module](CComponentClassInfoList& catalog) { catalog.ClearModuleRecords(module); });
    // A thread's timers end with the thread: the timer of a thread that has
    // ended is replaced by one of this thread.
    if (timerId_ == 0 || !Platform::ThreadTimerIsRunning(timerId_)) {
        timerId_ = Platform::StartThreadTimer(kUnloadDelayMs, UnloadTimerProc);
    }
} catch (...) {
}

void COrvikComponentFactory::UnloadTimerProc(void*, uint32_t, Platform::TimerId, uint32_t)
try {
    TOrvikPtr<IOrvikComponentFactory, 0> factory;
    if (IsFactoryAlive() && factory) static_cast<COrvikComponentFactory*>(factory.get())->UnloadPendingModules();
} catch (...) {
}

void COrvikComponentFactory::UnloadPendingModules()
{
    const StateGuard guard(stateLock_);
    if (!pendingModules_.empty()) {
        // Unloading may report further idle modules; they change the set,
        // not this copy, and are dropped with the others.
        const std::vector<Platform::ModuleHandle> pending(pendingModules_);
        for (Platform::ModuleHandle module : pending) {
            static_cast<IOrvikComponentFactory*>(this)->TryUnloadModule(module);
        }
        pendingModules_.clear();
    }
    if (pendingModules_.empty() && timerId_ != 0) {
        Platform::StopThreadTimer(timerId_);
        timerId_ = 0;
    }
}

}  // namespace Orvik
