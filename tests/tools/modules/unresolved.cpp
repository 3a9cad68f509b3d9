// Imports ToolSymbolValue, which the tool_symbols.dll beside it lacks.
#include "tests/tools/modules/tool_exports.h"

TOOL_IMPORT int32_t ToolSymbolValue();
TOOL_EXPORT int32_t ToolUnresolvedValue() { return ToolSymbolValue(); }
