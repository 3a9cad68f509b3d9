// Lives where no loader looks: modules that need it do not load.
#include "tests/tools/modules/tool_exports.h"

TOOL_EXPORT int32_t ToolHiddenValue() { return 1; }
