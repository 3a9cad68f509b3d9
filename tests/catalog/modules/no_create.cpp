// Lists 50 and 51 but cannot create them, and never agrees to be unloaded.

#include "tests/catalog/modules/catalog_probe.h"

BARE_MODULE_EXPORT int32_t GetComponentIDs(uint32_t* ids, int32_t max)
{
    const uint32_t provided[] = {50, 51};
    for (int32_t i = 0; i < 2 && i < max; ++i) ids[i] = provided[i];
    return 2;
}
