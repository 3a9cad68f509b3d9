#include "platform/trace_clock.h"

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace Orvik {
namespace Platform {

uint64_t CurrentThreadId() { return static_cast<uint64_t>(syscall(SYS_gettid)); }

uint64_t CurrentTimeMicroseconds()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000u + static_cast<uint64_t>(now.tv_nsec) / 1000u;
}

}  // namespace Platform
}  // namespace Orvik
