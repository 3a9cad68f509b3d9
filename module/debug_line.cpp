#include "module/debug_line.h"

#include <cstdarg>
#include <cstdio>

#include "platform/debug_output.h"

namespace Orvik {

void OutputDebugLine(const char* format, ...)
{
    char line[1024] = {};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    Platform::WriteDebugString(line);
}

}  // namespace Orvik
