#pragma once
// Paths that come from outside the framework, such as a command line.

#include "orvik/platform/platform_api.h"

namespace Orvik {
namespace Platform {

// path as the platform spells it (relative to the current directory or
// absolute; empty for the current directory itself) in the framework's
// absolute form, without a final separator: "/opt/app/x.ini" becomes
// "\opt\app\x.ini" on POSIX. False, with buffer empty, when the result does
// not fit in size bytes.
ORVIK_PLATFORM_API bool GetAbsoluteFrameworkPath(const char* path, char* buffer, uint32_t size);

}  // namespace Platform
}  // namespace Orvik
