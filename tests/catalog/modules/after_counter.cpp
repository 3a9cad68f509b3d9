// Lists 60 and agrees to be unloaded only once cat_counter.dll has left:
// it sees whether the modules asked before it were freed before it is asked.

#include "tests/catalog/modules/catalog_probe.h"

BARE_MODULE_EXPORT int32_t GetComponentIDs(uint32_t* ids, int32_t max)
{
    if (max > 0) ids[0] = 60;
    return 1;
}

BARE_MODULE_EXPORT int32_t OrvikDllCanUnloadNow()
{
    return Orvik::Platform::FindLoadedModule("cat_counter.dll") == nullptr ? 1 : 0;
}
