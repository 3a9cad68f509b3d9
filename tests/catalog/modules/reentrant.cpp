// Announces its loading on the debugger output, where a test's sink can
// re-enter the catalog that is loading it; lists 60.

#include "orvik/platform/debug_output.h"
#include "tests/catalog/modules/catalog_probe.h"

namespace {

struct Announcer {
    Announcer() { Orvik::Platform::WriteDebugString(Orvik::Testing::kReentrantLoadingLine); }
};

Announcer g_announcer;

}  // namespace

BARE_MODULE_EXPORT int32_t GetComponentIDs(uint32_t* ids, int32_t max)
{
    if (max > 0) ids[0] = 60;
    return 1;
}

BARE_MODULE_EXPORT int32_t OrvikDllCanUnloadNow() { return 1; }
