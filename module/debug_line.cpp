#include "orvik/module/debug_line.h"

#include <cstdarg>
#include <cstdio>

#include "orvik/platform/debug_output.h"

namespace Orvik {

void OutputDebugLineV(const char* format, va_list arguments)
{
    char line[1024] = {};
    std::vsnprintf(line, sizeof line, format, arguments);
    Platform::WriteDebugString(line);
}

void OutputDebugLine(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    OutputDebugLineV(format, arguments);
    va_end(arguments);
}

}  // namespace Orvik
