#include "platform/profile.h"

#include <windows.h>

namespace Orvik {
namespace Platform {

uint32_t ReadProfileValue(const char* section, const char* key, const char* defaultValue, char* buffer,
                          uint32_t size, const char* file)
{
    return GetPrivateProfileStringA(section, key, defaultValue, buffer, size, file);
}

uint32_t ReadProfileValueFromText(const char* section, const char* key, const char* defaultValue, char* buffer,
                                  uint32_t size, const char* file, const char*, uint32_t)
{
    return GetPrivateProfileStringA(section, key, defaultValue, buffer, size, file);
}

}  // namespace Platform
}  // namespace Orvik
