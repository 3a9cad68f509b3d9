#include "platform/trace_clock.h"

#include <windows.h>

namespace Orvik {
namespace Platform {

uint64_t CurrentThreadId() { return GetCurrentThreadId(); }

uint64_t CurrentTimeMicroseconds()
{
    // File times count 100 ns steps from 1601; the Unix epoch is this many later.
    constexpr uint64_t kUnixEpochAsFileTime = 116444736000000000u;
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    const uint64_t steps = (static_cast<uint64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime;
    return (steps - kUnixEpochAsFileTime) / 10u;
}

}  // namespace Platform
}  // namespace Orvik
