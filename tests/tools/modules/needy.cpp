// Needs tool_hidden.dll, which is out of the loader's reach.
#include "tests/tools/modules/tool_exports.h"

TOOL_IMPORT int32_t ToolHiddenValue();
TOOL_EXPORT int32_t ToolNeedyValue() { return ToolHiddenValue(); }
