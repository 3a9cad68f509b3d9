#pragma once
// Reading one value of a profile (".ini") file.

#include "platform/platform_api.h"

namespace Orvik {
namespace Platform {

// The value of key in section of file, both matched ignoring case, without
// surrounding blanks and without one pair of enclosing quotes. The default
// (empty for null) when the file, section or key is missing. Writes at most
// size - 1 characters and a terminator; returns the number written. The
// default loses trailing spaces and enclosing quotes too. A null section or
// key lists names on Windows; on POSIX it just yields the default.
ORVIK_PLATFORM_API uint32_t ReadProfileValue(const char* section, const char* key,
                                             const char* defaultValue, char* buffer,
                                             uint32_t size, const char* file);

}  // namespace Platform
}  // namespace Orvik
