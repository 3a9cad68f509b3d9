#include "platform/posix/executable_path.h"

#include <unistd.h>

namespace Orvik {
namespace Platform {

const std::string& ExecutablePath()
{
    static const std::string path = [] {
        char buffer[4096];
        const ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
        return length > 0 ? std::string(buffer, static_cast<size_t>(length)) : std::string();
    }();
    return path;
}

}  // namespace Platform
}  // namespace Orvik
