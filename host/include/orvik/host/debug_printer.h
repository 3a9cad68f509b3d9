#pragma once
/// \file
/// A debug sink for programs: prints the debugger output of every module.

#include <cstdio>

namespace Orvik {
namespace Host {

/// From now on every debugger line of every module goes to stream, one line
/// at a time, each after prefix (kept by pointer: pass a literal). On Windows
/// they no longer reach an attached debugger.
void PrintDebugOutput(std::FILE* stream, const char* prefix);

}  // namespace Host
}  // namespace Orvik
