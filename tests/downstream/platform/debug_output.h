#pragma once
// The project's own platform/debug_output.h. Orvik's headers are named
// under their own prefix, so this name is free for the project to use.

namespace Downstream {

// What the text tool puts before the text of its debug lines.
inline const char* DebugPrefix() { return "TextTool: "; }

}  // namespace Downstream
