#include "orvik/platform/local_time.h"

#include <time.h>

namespace Orvik {
namespace Platform {

size_t FormatLocalTime(char* buffer, size_t size, const char* format)
{
    __time64_t now;
    _time64(&now);
    const struct tm* local = _localtime64(&now);
    if (buffer == nullptr || size == 0 || local == nullptr) return 0;
    return strftime(buffer, size, format, local);
}

}  // namespace Platform
}  // namespace Orvik
