#pragma once
/// \file
/// Every diagnostic of the framework is one debugger-output line.

#include <cstdarg>

namespace Orvik {

/// Writes to the debugger output, printf-style; the text is cut to 1023
/// characters and written as it is, with nothing added.
void OutputDebugLine(const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 1, 2)))
#endif
    ;

/// The same, for callers that pass their own arguments on.
void OutputDebugLineV(const char* format, va_list arguments);

}  // namespace Orvik
