#pragma once
// Reading one value of a profile (".ini") file.

#include "orvik/platform/platform_api.h"

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

// The same answer for a file whose bytes the caller has just read whole
// (text, textSize; null text when it could not read them). The POSIX reader
// answers from those bytes instead of reading the file again; the Windows
// reader reads the file itself.
ORVIK_PLATFORM_API uint32_t ReadProfileValueFromText(const char* section, const char* key,
                                                     const char* defaultValue, char* buffer, uint32_t size,
                                                     const char* file, const char* text, uint32_t textSize);

}  // namespace Platform
}  // namespace Orvik
