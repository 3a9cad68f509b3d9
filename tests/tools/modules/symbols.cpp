// Built twice under one file name: with ToolSymbolValue for linking, and
// without it where the tests load modules, so that what links does not load.
#include "tests/tools/modules/tool_exports.h"

#if defined(WITH_SYMBOL)
TOOL_EXPORT int32_t ToolSymbolValue() { return 2; }
#endif
TOOL_EXPORT int32_t ToolOtherValue() { return 3; }
