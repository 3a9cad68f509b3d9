// Creates components but cannot list them, and is never told anything.

#include "tests/catalog/modules/catalog_probe.h"

namespace {
Orvik::Testing::TStaticProbe<Orvik::Testing::kNoIdsTag> g_probe;
}  // namespace

BARE_MODULE_EXPORT Orvik::IComponent* CreateComponent(int32_t, uint32_t) { return &g_probe; }

BARE_MODULE_EXPORT int32_t OrvikDllCanUnloadNow() { return 1; }
