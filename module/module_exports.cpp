#include "module/module_exports.h"

#include "module/debug_line.h"
#include "module/module_state.h"
#include "util/bootstrap_helpers.h"

using Orvik::ComponentInstanceInfo;
using Orvik::LiveComponentMap;
using Orvik::ModuleLockGuard;
using Orvik::OutputDebugLine;

Orvik::IComponent* CreateComponent(int32_t componentId, uint32_t creatorId)
{
    const Orvik::CreatorFunction creator = Orvik::FindCreator(static_cast<Orvik::ComponentId>(componentId));
    if (creator == nullptr) {
        OutputDebugLine("Orvik[Error]: Can't find the factory method of Component\n");
        OutputDebugLine("Orvik[Error]: ComponentID=%d CreatorID=%u", componentId, creatorId);
        return nullptr;
    }
    // Creators run outside the module lock: they may load modules and call
    // back into this one.
    Orvik::IComponent* component = creator();
    if (component == nullptr) {
        OutputDebugLine("Orvik[Error]:CreateComponent method return NULL.\n");
        OutputDebugLine("Orvik[Error]: ComponentID=%d CreatorID=%u", componentId, creatorId);
        return nullptr;
    }
    ModuleLockGuard guard;
    if (LiveComponentMap* live = Orvik::LiveMap()) {
        (*live)[component] = ComponentInstanceInfo{componentId, creatorId, component};
    }
    return component;
}

int32_t GetComponentIDs(uint32_t* ids, int32_t max)
{
    ModuleLockGuard guard;
    const Orvik::ModuleState& state = Orvik::State();
    for (uint32_t i = 0; ids != nullptr && i < state.creatorCount && static_cast<int64_t>(i) < max; ++i) {
        ids[i] = state.creators[i].componentId;
    }
    return static_cast<int32_t>(state.creatorCount);
}

int32_t SetDLLRegistry(const char* path)
{
    ModuleLockGuard guard;
    // A path that does not fit leaves the registry path empty.
    char* registryPath = Orvik::State().registryPath;
    registryPath[0] = '\0';
    Orvik::CopyString(registryPath, Orvik::kRegistryPathSize, path);
    return 0;
}

void SetFactoryHandle(Orvik::Platform::ModuleHandle handle) { Orvik::State().factoryModule = handle; }

void OrvikSetDllSafe(int32_t flag) { Orvik::State().dllSafe = flag; }

int32_t OrvikDllCanUnloadNow()
{
    const LiveComponentMap* live = Orvik::LiveMap();
    return live == nullptr || live->empty() ? 1 : 0;
}

void OrvikDllFreeMap()
{
    ModuleLockGuard guard;
    LiveComponentMap* live = Orvik::LiveMap();
    if (live == nullptr) return;
    // A release removes its entry and may remove others (a component that
    // owns components), so the walk restarts whenever the entry went away.
    auto position = live->begin();
    while (position != live->end()) {
        const void* key = position->first;
        Orvik::IComponent* component = position->second.pointer;
        if (component->GetAutoRelease() != 0) component->Release(0);
        position = live->find(key);
        position = position != live->end() ? std::next(position) : live->begin();
    }
}
