// Stands for a module built without the framework's runtime: it needs a
// C++ function of the framework's namespace that the tool_symbols.dll beside
// it lacks.
#include "tests/tools/modules/tool_exports.h"

namespace Orvik {
TOOL_IMPORT_CPP int32_t ToolRuntimeValue(int32_t value);
}  // namespace Orvik

TOOL_EXPORT int32_t ToolRuntimelessValue() { return Orvik::ToolRuntimeValue(4); }
