#include "orvik/platform/local_time.h"

#include <ctime>

namespace Orvik {
namespace Platform {

size_t FormatLocalTime(char* buffer, size_t size, const char* format)
{
    const std::time_t now = std::time(nullptr);
    std::tm local;
    if (buffer == nullptr || size == 0 || localtime_r(&now, &local) == nullptr) return 0;
    return std::strftime(buffer, size, format, &local);
}

}  // namespace Platform
}  // namespace Orvik
