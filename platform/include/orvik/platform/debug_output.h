#pragma once
/// \file
/// The debugger output of the process.

#include "orvik/platform/platform_api.h"

namespace Orvik {
namespace Platform {

/// Hands a zero-terminated text to the debugger output, or to the installed
/// sink. On POSIX without a sink it goes to standard error in one write.
ORVIK_PLATFORM_API void WriteDebugString(const char* text);

/// Receives every text written to the debugger output by any module of the
/// process, on the writing thread.
using DebugSink = void (*)(const char* text, void* context);
/// Installs the sink for the whole process; null restores the default.
ORVIK_PLATFORM_API void SetDebugSink(DebugSink sink, void* context);
/// The installed sink and its context (null for the default), so that a
/// temporary sink can put the previous one back.
ORVIK_PLATFORM_API void GetDebugSink(DebugSink* sink, void** context);

/// Stops in the debugger: a programming error was detected.
ORVIK_PLATFORM_API void BreakIntoDebugger();

}  // namespace Platform
}  // namespace Orvik
