#include "platform/absolute_path.h"

#include <windows.h>

#include <cstring>

namespace Orvik {
namespace Platform {

bool GetAbsoluteFrameworkPath(const char* path, char* buffer, uint32_t size)
{
    if (buffer == nullptr || size == 0) return false;
    buffer[0] = '\0';
    char full[MAX_PATH] = {};
    const DWORD length = GetFullPathNameA(path != nullptr && *path != '\0' ? path : ".", sizeof full, full, nullptr);
    if (length == 0 || length >= sizeof full) return false;
    // "C:\" keeps its separator; other directories lose theirs.
    DWORD end = length;
    while (end > 3 && (full[end - 1] == '\\' || full[end - 1] == '/')) --end;
    if (end >= size) return false;
    std::memcpy(buffer, full, end);
    buffer[end] = '\0';
    return true;
}

}  // namespace Platform
}  // namespace Orvik
