#pragma once
/// \file
/// Loading modules, finding their exports and naming them.

#include "orvik/platform/platform_api.h"
#include "orvik/platform/unique_handle.h"

namespace Orvik {
namespace Platform {

/// A loaded module; pointer-sized on every platform.
using ModuleHandle = void*;
/// Marks a module that failed to load for good: all bits set.
inline ModuleHandle InvalidModule() { return reinterpret_cast<ModuleHandle>(~uintptr_t{0}); }

/// An exported function, to be cast to its real signature by the caller.
using ExportedFunction = void (*)();

/// Loads a module and adds a reference to it; null on failure, with the last
/// error set (126 module or dependency not found, 193 not a loadable module,
/// 5 access denied); success leaves it alone. Trailing blanks are dropped,
/// then a name without extension gets ".dll"; a bare name is searched in the
/// executable's directory, then the current directory, then the platform's
/// library path; a module of that name already loaded is reused. Backslashes
/// are the separator (forward slashes are accepted).
ORVIK_PLATFORM_API ModuleHandle LoadModule(const char* path);

/// The export of that name in that very module (not in its dependencies);
/// null with last error 127 when missing.
ORVIK_PLATFORM_API ExportedFunction FindExport(ModuleHandle module, const char* name);

/// Drops one reference; the module leaves memory with its last reference.
ORVIK_PLATFORM_API bool ReleaseModule(ModuleHandle module);

/// A module already loaded in the process, without adding a reference. Null
/// names the main program. A name without separator is compared, ignoring
/// case, with the loaded modules' file names, ".dll" appended when the name
/// has no extension (trailing blanks are kept); a name with separators is
/// compared as a whole path. Null with last error 126 when none matches.
ORVIK_PLATFORM_API ModuleHandle FindLoadedModule(const char* name);

/// The module's full file path with backslashes, null naming the main program.
/// Copies at most size - 1 characters and a terminator; returns the number of
/// characters copied (size when the path was cut, with last error 122; 0
/// when it was not).
ORVIK_PLATFORM_API uint32_t GetModuleFilePath(ModuleHandle module, char* buffer, uint32_t size);

/// The handle of the module whose code or data holds the address; a module
/// uses it with the address of one of its own objects to learn its handle,
/// the same value that loading it returns to anyone else. Null with last
/// error 126 when no module holds the address.
ORVIK_PLATFORM_API ModuleHandle ModuleContainingAddress(const void* address);

/// The calling thread's last error, Windows numbering.
ORVIK_PLATFORM_API uint32_t GetLastErrorCode();
/// Sets the calling thread's last error (ErrorCode).
ORVIK_PLATFORM_API void SetLastErrorCode(uint32_t code);

/// UniqueHandle traits of a module reference.
struct ModuleTraits {
    using Handle = ModuleHandle;  ///< What is held.
    /// Nothing held: null.
    static Handle Empty() { return nullptr; }
    /// A loaded module is held.
    static bool IsOpen(Handle module) { return module != nullptr && module != InvalidModule(); }
    /// Drops the reference.
    static void Close(Handle module) { ReleaseModule(module); }
};
/// One reference to a loaded module, dropped when its owner goes.
using UniqueModule = UniqueHandle<ModuleTraits>;

}  // namespace Platform
}  // namespace Orvik
