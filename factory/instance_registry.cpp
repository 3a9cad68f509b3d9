#include <algorithm>

#include "bootstrap/orvik_ptr.h"
#include "factory/component_factory.h"

namespace Orvik {

namespace {
constexpr uint32_t kUnloadDelayMs = 100;

bool Listed(const std::vector<IComponent*>& list, IComponent* instance)
{
    return std::find(list.begin(), list.end(), instance) != list.end();
}
}  // namespace

void COrvikComponentFactory::RegisterInstance(ComponentId id, IComponent* instance)
{
    // The factory never registers itself: releasing the registered
    // instances would destroy it in the middle of the walk.
    if (instance == nullptr || instance == this) return;
    registeredInstances_[id] = instance;
    if (!Listed(registeredList_, instance)) registeredList_.push_back(instance);
}

void COrvikComponentFactory::AddRegisteredInstance(IComponent* instance)
{
    if (instance == nullptr || instance == this) return;
    if (!Listed(registeredList_, instance)) registeredList_.push_back(instance);
}

int32_t COrvikComponentFactory::IsRegisteredInstance(IComponent* instance)
{
    return instance != nullptr && Listed(registeredList_, instance) ? 1 : 0;
}

void COrvikComponentFactory::ReleaseRegisteredInstances()
{
    // Released instances stay listed, so smart pointers still leave them
    // alone, but they are never handed out or released again.
    for (auto it = registeredList_.rbegin(); it != registeredList_.rend(); ++it) {
        IComponent* instance = *it;
        if (!releasedInstances_.insert(instance).second) continue;
        for (auto entry = registeredInstances_.begin(); entry != registeredInstances_.end();) {
            entry = entry->second == instance ? registeredInstances_.erase(entry) : std::next(entry);
        }
        instance->Release(1);
    }
}

void COrvikComponentFactory::NotifyModuleIdle(Platform::ModuleHandle module)
{
    pendingModules_.insert(module);
    ForEachCatalog([module](CComponentClassInfoList& catalog) { catalog.ClearModuleRecords(module); });
    if (timerId_ == 0) timerId_ = Platform::StartThreadTimer(kUnloadDelayMs, UnloadTimerProc);
}

void COrvikComponentFactory::UnloadTimerProc(void*, uint32_t, Platform::TimerId, uint32_t)
{
    TOrvikPtr<IOrvikComponentFactory, 0> factory;
    if (IsFactoryAlive() && factory) static_cast<COrvikComponentFactory*>(factory.get())->UnloadPendingModules();
}

void COrvikComponentFactory::UnloadPendingModules()
{
    if (!pendingModules_.empty()) {
        // Unloading may report further idle modules; they change the set,
        // not this copy, and are dropped with the others.
        const std::vector<Platform::ModuleHandle> pending(pendingModules_.begin(), pendingModules_.end());
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
