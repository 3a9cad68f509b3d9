#pragma once
/// \file
/// The platform layer is the only code that talks to the operating system.
/// On Windows it is a static library, a thin pass-through linked into every
/// module. On POSIX it is one shared library, loaded once per process, so its
/// state (debug sink, timers, code page, loaded modules) is shared by all the
/// modules that use it, as the operating system's state is on Windows.

#include <cstddef>
#include <cstdint>

/// Marks a function of the platform layer: exported by the shared platform
/// library on POSIX, nothing on Windows.
#if defined(_WIN32)
#define ORVIK_PLATFORM_API
#else
#define ORVIK_PLATFORM_API __attribute__((visibility("default")))
#endif

/// The framework's types and functions.
namespace Orvik {
/// The operating system, behind one portable interface.
namespace Platform {

/// Windows error numbers, used on every platform.
enum ErrorCode : uint32_t {
    kErrorSuccess = 0,              ///< No error.
    kErrorFileNotFound = 2,         ///< The file does not exist.
    kErrorPathNotFound = 3,         ///< A directory of the path does not exist.
    kErrorAccessDenied = 5,         ///< No access, or not a file that can be opened so.
    kErrorInvalidHandle = 6,        ///< The handle names nothing open.
    kErrorNoMoreFiles = 18,         ///< A directory listing has no further entry.
    kErrorInsufficientBuffer = 122, ///< The buffer was too small; the text was cut.
    kErrorModuleNotFound = 126,     ///< A module or one of its dependencies was not found.
    kErrorProcedureNotFound = 127,  ///< A module lacks the export or an import.
    kErrorAlreadyExists = 183,      ///< Something of that name exists.
    kErrorBadExeFormat = 193,       ///< Not a loadable module for this platform.
    /// The module was built against another contract of the framework; its
    /// record says which. (Windows' number for incompatible revision levels:
    /// the file itself is sound, unlike one refused with 193.)
    kErrorRevisionMismatch = 1306,
};

/// Paths live in buffers of this many bytes: 259 characters and a terminator.
constexpr int kMaxPath = 260;

}  // namespace Platform
}  // namespace Orvik
