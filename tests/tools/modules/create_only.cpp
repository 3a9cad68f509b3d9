// A module with CreateComponent and none of the other six exports.
#include "tests/tools/modules/tool_exports.h"

TOOL_EXPORT void* CreateComponent(int32_t, uint32_t) { return nullptr; }
