#include "platform/absolute_path.h"

#include <cstring>
#include <filesystem>
#include <string>

#include "platform/posix/error_numbers.h"
#include "platform/posix/native_path.h"

namespace Orvik {
namespace Platform {

bool GetAbsoluteFrameworkPath(const char* path, char* buffer, uint32_t size)
try {
    if (buffer == nullptr || size == 0) return false;
    buffer[0] = '\0';
    std::error_code error;
    const std::string given = path != nullptr && *path != '\0' ? path : ".";
    std::string absolute = std::filesystem::absolute(given, error).lexically_normal().string();
    if (error) return false;
    while (absolute.size() > 1 && absolute.back() == '/') absolute.pop_back();
    const std::string framework = FromNativePath(absolute);
    if (framework.size() >= size) return false;
    std::memcpy(buffer, framework.c_str(), framework.size() + 1);
    return true;
} catch (const std::bad_alloc&) {
    return OutOfMemory(false);
}

}  // namespace Platform
}  // namespace Orvik
