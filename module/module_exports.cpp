#include "orvik/module/module_exports.h"

#include <atomic>
#include <cstring>

#include "orvik/module/debug_line.h"
#include "module/module_state.h"
#include "orvik/module/registry_path.h"

using Orvik::ComponentInstanceInfo;
using Orvik::ModuleLockGuard;
using Orvik::OutputDebugLine;

// What a creator throws (a constructor, an allocation) stays in the module
// and reads as a creator that returned null.
Orvik::IComponent* ORVIK_CDECL CreateComponent(int32_t componentId, uint32_t creatorId)
try {
    const Orvik::CreatorFunction creator = Orvik::FindCreator(static_cast<Orvik::ComponentId>(componentId));
    if (creator == nullptr) {
        OutputDebugLine("Orvik[Error]: Can't find the factory method of Component\n");
        OutputDebugLine("Orvik[Error]: ComponentID=%d CreatorID=%u", componentId, creatorId);
        return nullptr;
    }
    // The first creation makes the live maps' tables, so that recording a
    // component made needs memory only to grow one. The creation needs no
    // call scope: the factory marks a creation it starts, from before it
    // looks the creator up until this export returns.
    Orvik::MakeLiveTables();
    // Creators run outside the module lock: they may load modules and call
    // back into this one.
    Orvik::IComponent* component = creator();
    if (component == nullptr) {
        OutputDebugLine("Orvik[Error]:CreateComponent method return NULL.\n");
        OutputDebugLine("Orvik[Error]: ComponentID=%d CreatorID=%u", componentId, creatorId);
        return nullptr;
    }
    // A singleton returned again keeps its one entry, with the latest
    // creator.
    if (Orvik::RecordLiveComponent(ComponentInstanceInfo{componentId, creatorId, component})) return component;
    // Only a shard that is full and cannot grow refuses: a component that
    // cannot be recorded goes again at once rather than live unseen (its
    // release reports it as not listed).
    component->Release(1);
    OutputDebugLine("Orvik[Error]:CreateComponent method return NULL.\n");
    OutputDebugLine("Orvik[Error]: ComponentID=%d CreatorID=%u", componentId, creatorId);
    return nullptr;
} catch (...) {
    OutputDebugLine("Orvik[Error]:CreateComponent method return NULL.\n");
    OutputDebugLine("Orvik[Error]: ComponentID=%d CreatorID=%u", componentId, creatorId);
    return nullptr;
}

int32_t ORVIK_CDECL GetComponentIDs(uint32_t* ids, int32_t max)
{
    ModuleLockGuard guard;
    const uint32_t count = Orvik::State().creatorCount.load(std::memory_order_acquire);
    for (uint32_t i = 0; ids != nullptr && i < count && static_cast<int64_t>(i) < max; ++i) {
        ids[i] = Orvik::State().creators[i].componentId;
    }
    return static_cast<int32_t>(count);
}

int32_t ORVIK_CDECL SetDLLRegistry(const char* path)
{
    // A catalog hands its path over at every request for a section's module;
    // the same path again changes nothing and needs no lock.
    if (path != nullptr && std::strcmp(path, Orvik::RegistryPath()) == 0) return 0;
    ModuleLockGuard guard;
    // A path that does not fit leaves the registry path empty.
    Orvik::StoreRegistryPath(path);
    return 0;
}

void ORVIK_CDECL SetFactoryHandle(Orvik::Platform::ModuleHandle handle)
{
    // Handed over at every request for a section's module too: the same
    // handle again writes nothing, so the line that every creation reads is
    // not taken from the other threads' caches.
    std::atomic<Orvik::Platform::ModuleHandle>& factoryModule = Orvik::State().factoryModule;
    if (factoryModule.load(std::memory_order_relaxed) != handle) factoryModule.store(handle);
}

void ORVIK_CDECL OrvikSetDllSafe(int32_t flag) { Orvik::State().dllSafe = flag; }

int32_t ORVIK_CDECL OrvikDllCanUnloadNow() { return Orvik::ModuleCanUnloadNow() ? 1 : 0; }

void ORVIK_CDECL OrvikDllFreeMap()
{
    try {
        const Orvik::ModuleCallScope inside;
        Orvik::ReleaseAutoReleasedComponents();
    } catch (...) {
    }
}
