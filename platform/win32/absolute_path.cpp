#include "platform/absolute_path.h"

#include <windows.h>

#include <string>

namespace Orvik {
namespace Platform {

bool GetAbsoluteFrameworkPath(const char* path, char* buffer, uint32_t size)
{
    if (buffer == nullptr || size == 0) return false;
    buffer[0] = '\0';
    char full[MAX_PATH] = {};
    const DWORD length = GetFullPathNameA(path != nullptr && *path != '\0' ? path : ".", sizeof full, full, nullptr);
    if (length == 0 || length >= sizeof full) return false;
    std::string absolute(full, length);
    // "C:\" keeps its separator; other directories lose theirs.
    while (absolute.size() > 3 && (absolute.back() == '\\' || absolute.back() == '/')) absolute.pop_back();
    if (absolute.size() >= size) return false;
    absolute.copy(buffer, absolute.size());
    buffer[absolute.size()] = '\0';
    return true;
}

}  // namespace Platform
}  // namespace Orvik
