#include "orvik/module/module_exports.h"

#include <cstring>
#include <utility>

#include "orvik/module/debug_line.h"
#include "module/module_state.h"
#include "orvik/module/registry_path.h"

using Orvik::ComponentInstanceInfo;
using Orvik::LiveComponentMap;
using Orvik::ModuleLockGuard;
using Orvik::OutputDebugLine;

namespace {

// The live map's entry for a component, made before the component: once a
// creator has made one, recording it needs no memory, so a component is
// never made that could not be recorded (and would be lost).
LiveComponentMap::node_type NewLiveEntry()
{
    LiveComponentMap made;
    made.emplace(nullptr, ComponentInstanceInfo{});
    return made.extract(made.begin());
}

}  // namespace

// What a creator throws (a constructor, an allocation) stays in the module
// and reads as a creator that returned null.
Orvik::IComponent* CreateComponent(int32_t componentId, uint32_t creatorId)
try {
    const Orvik::ModuleCallScope inside;
    const Orvik::CreatorFunction creator = Orvik::FindCreator(static_cast<Orvik::ComponentId>(componentId));
    if (creator == nullptr) {
        OutputDebugLine("Orvik[Error]: Can't find the factory method of Component\n");
        OutputDebugLine("Orvik[Error]: ComponentID=%d CreatorID=%u", componentId, creatorId);
        return nullptr;
    }
    LiveComponentMap::node_type entry = NewLiveEntry();
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
        // A singleton returned again keeps its one entry, with the latest
        // creator.
        entry.key() = component;
        entry.mapped() = ComponentInstanceInfo{componentId, creatorId, component};
        const auto recorded = live->insert(std::move(entry));
        if (!recorded.inserted) recorded.position->second = recorded.node.mapped();
    }
    return component;
} catch (...) {
    OutputDebugLine("Orvik[Error]:CreateComponent method return NULL.\n");
    OutputDebugLine("Orvik[Error]: ComponentID=%d CreatorID=%u", componentId, creatorId);
    return nullptr;
}

int32_t GetComponentIDs(uint32_t* ids, int32_t max)
{
    ModuleLockGuard guard;
    const Orvik::ModuleState& state = Orvik::State();
    const uint32_t count = state.creatorCount.load(std::memory_order_acquire);
    for (uint32_t i = 0; ids != nullptr && i < count && static_cast<int64_t>(i) < max; ++i) {
        ids[i] = state.creators[i].componentId;
    }
    return static_cast<int32_t>(count);
}

int32_t SetDLLRegistry(const char* path)
{
    // A catalog hands its path over at every request for a section's module;
    // the same path again changes nothing and needs no lock.
    if (path != nullptr && std::strcmp(path, Orvik::RegistryPath()) == 0) return 0;
    ModuleLockGuard guard;
    // A path that does not fit leaves the registry path empty.
    Orvik::StoreRegistryPath(path);
    return 0;
}

void SetFactoryHandle(Orvik::Platform::ModuleHandle handle) { Orvik::State().factoryModule = handle; }

void OrvikSetDllSafe(int32_t flag) { Orvik::State().dllSafe = flag; }

int32_t OrvikDllCanUnloadNow() { return Orvik::ModuleCanUnloadNow() ? 1 : 0; }

void OrvikDllFreeMap()
{
    try {
        const Orvik::ModuleCallScope inside;
        Orvik::ReleaseAutoReleasedComponents();
    } catch (...) {
    }
}
