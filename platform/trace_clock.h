#pragma once
// Who and when, for the factory's trace: the calling thread as the system
// numbers it, and the wall-clock time.

#include "orvik/platform/platform_api.h"

namespace Orvik {
namespace Platform {

// The calling thread's id, as the system's own tools show it.
ORVIK_PLATFORM_API uint64_t CurrentThreadId();
// Microseconds since 1970-01-01 00:00 UTC.
ORVIK_PLATFORM_API uint64_t CurrentTimeMicroseconds();

}  // namespace Platform
}  // namespace Orvik
