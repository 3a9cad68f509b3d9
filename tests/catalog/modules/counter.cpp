// Reports 600 ids (1000 to 1599), creates each of them, and counts how
// often it is told the registry path and the factory handle.

#include "tests/catalog/modules/catalog_probe.h"

namespace {

using namespace Orvik;
using namespace Orvik::Testing;

constexpr uint32_t kFirstId = 1000;
constexpr int32_t kIdCount = 600;

TStaticProbe<kCounterTag> g_probe;
CallCounts g_counts = {};

}  // namespace

BARE_MODULE_EXPORT int32_t GetComponentIDs(uint32_t* ids, int32_t max)
{
    for (int32_t i = 0; i < kIdCount && i < max; ++i) ids[i] = kFirstId + static_cast<uint32_t>(i);
    return kIdCount;
}

BARE_MODULE_EXPORT IComponent* CreateComponent(int32_t componentId, uint32_t creatorId)
{
    ++g_counts.createCalls;
    g_counts.lastCreatorId = creatorId;
    const uint32_t id = static_cast<uint32_t>(componentId);
    return id >= kFirstId && id < kFirstId + kIdCount ? &g_probe : nullptr;
}

BARE_MODULE_EXPORT int32_t SetDLLRegistry(const char* path)
{
    ++g_counts.setRegistryCalls;
    g_probe.registryPath[0] = '\0';
    if (path != nullptr && std::strlen(path) < sizeof g_probe.registryPath) std::strcpy(g_probe.registryPath, path);
    return 0;
}

BARE_MODULE_EXPORT void SetFactoryHandle(Platform::ModuleHandle handle)
{
    ++g_counts.setFactoryCalls;
    g_counts.lastFactoryHandle = handle;
}

BARE_MODULE_EXPORT int32_t OrvikDllCanUnloadNow() { return 1; }

BARE_MODULE_EXPORT void ReadCallCounts(CallCounts* counts) { *counts = g_counts; }
