#pragma once
// The platform layer is the only code that talks to the operating system.
// On Windows it is a static library, a thin pass-through linked into every
// module. On POSIX it is one shared library, loaded once per process, so its
// state (debug sink, timers, code page, loaded modules) is shared by all the
// modules that use it, as the operating system's state is on Windows.

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#define ORVIK_PLATFORM_API
#else
#define ORVIK_PLATFORM_API __attribute__((visibility("default")))
#endif

namespace Orvik {
namespace Platform {

// Windows error numbers, used on every platform.
enum ErrorCode : uint32_t {
    kErrorSuccess = 0,
    kErrorFileNotFound = 2,
    kErrorPathNotFound = 3,
    kErrorAccessDenied = 5,
    kErrorInvalidHandle = 6,
    kErrorNoMoreFiles = 18,
    kErrorInsufficientBuffer = 122,
    kErrorModuleNotFound = 126,
    kErrorProcedureNotFound = 127,
    kErrorAlreadyExists = 183,
    kErrorBadExeFormat = 193,
};

// Paths live in buffers of this many bytes: 259 characters and a terminator.
constexpr int kMaxPath = 260;

}  // namespace Platform
}  // namespace Orvik
