#pragma once
/// \file
/// Why a module did not load, in the loader's own words, for hosts and tools.
/// The framework's own messages give only an error number; this record keeps
/// what the loader said beside it.

#include "orvik/platform/platform_api.h"

namespace Orvik {
namespace Platform {

/// The size of LoadFailure::text in bytes.
constexpr int kLoadFailureTextSize = 512;

/// The loader's account of one failed LoadModule.
struct LoadFailure {
    /// Failed loads of this thread so far; tells one failure from the next.
    uint32_t count;
    /// The last error LoadModule set (126, 193, ...).
    uint32_t code;
    /// The module asked for, as LoadModule was given it.
    char path[kMaxPath];
    /// The loader's message: dlerror() on POSIX, the system's text for the
    /// error on Windows. For a module refused before loading because of its
    /// module record, the framework's account of that record; for a module
    /// file (or a dependency of it) refused before loading because the loader
    /// could not map or apply it safely, "<file>: <reason>".
    char text[kLoadFailureTextSize];
    /// A module the failed one depends on that the loader did not find; empty
    /// when none is known.
    char missingModule[kMaxPath];
    /// A symbol or procedure that no module provides; empty when none is
    /// known.
    char missingSymbol[kMaxPath];
};

/// The last failed LoadModule of the calling thread, kept until the next one
/// fails (a successful load leaves it). False, with *failure zeroed, when
/// no load has failed on this thread. On Windows all modules of the process
/// share the record, as they share the last error.
ORVIK_PLATFORM_API bool GetLastLoadFailure(LoadFailure* failure);

/// A procedure that the module file imports and that its module does not
/// export, found in the file's import table; for loaders that bind such an
/// import to a stub instead of refusing the module. False, with symbol
/// empty, when there is none; always on POSIX, where a module with an
/// undefined symbol does not load.
ORVIK_PLATFORM_API bool FindUnresolvedImport(const char* path, char* symbol, uint32_t size);

}  // namespace Platform
}  // namespace Orvik
