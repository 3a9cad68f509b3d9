// Built twice under one file name: with ToolSymbolValue and a function of
// the framework's namespace for linking, and without them where the tests
// load modules, so that what links does not load.
#include "tests/tools/modules/tool_exports.h"

#if defined(WITH_SYMBOL)
TOOL_EXPORT int32_t ToolSymbolValue() { return 2; }
namespace Orvik {
TOOL_EXPORT_CPP int32_t ToolRuntimeValue(int32_t value) { return value; }
}  // namespace Orvik
#endif
TOOL_EXPORT int32_t ToolOtherValue() { return 3; }
