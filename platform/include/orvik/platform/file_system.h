#pragma once
/// \file
/// Files and directories.

#include "orvik/platform/platform_api.h"
#include "orvik/platform/unique_handle.h"

namespace Orvik {
namespace Platform {

/// An open file; pointer-sized. Failure is all bits set, a closed file 0.
/// On Windows it is the system's file handle; on POSIX an object of the
/// platform library, used only through the calls below.
using FileHandle = void*;
/// The file handle of a failure: all bits set.
inline FileHandle InvalidFileHandle() { return reinterpret_cast<FileHandle>(~uintptr_t{0}); }

/// 100-nanosecond intervals since 1601-01-01 (UTC), split in two halves.
struct FileTime {
    uint32_t low;   ///< The low 32 bits.
    uint32_t high;  ///< The high 32 bits.
};

/// The attribute bit of a directory in FindData::attributes.
constexpr uint32_t kFileAttributeDirectory = 0x10;

/// One entry of a directory listing.
struct FindData {
    uint32_t attributes;      ///< kFileAttributeDirectory for a directory.
    FileTime creationTime;    ///< When the entry was created.
    FileTime lastAccessTime;  ///< When it was last read.
    FileTime lastWriteTime;   ///< When it was last written.
    uint32_t sizeHigh;        ///< The high 32 bits of the file's size.
    uint32_t sizeLow;         ///< The low 32 bits of the file's size.
    char name[kMaxPath];      ///< The entry's name, without directory.
};

/// A directory listing; its own type, so it is never taken for a file.
struct DirectoryListing;
/// An open directory listing.
using FindHandle = DirectoryListing*;
/// No listing: all bits set.
inline FindHandle InvalidFindHandle() { return reinterpret_cast<FindHandle>(~uintptr_t{0}); }

/// Opens an existing file for reading, others may read it too. Invalid on
/// failure (last error 2 file not found, 3 path not found, 5 access denied).
ORVIK_PLATFORM_API FileHandle OpenFileForReading(const char* path);
/// Creates or empties a file for writing; others may read it meanwhile.
ORVIK_PLATFORM_API FileHandle CreateFileForWriting(const char* path);
/// The low 32 bits of the file's size.
ORVIK_PLATFORM_API uint32_t GetFileSizeLow(FileHandle file);
/// Reads up to size bytes; *bytesRead (when not null) says how many came.
/// False on a read error.
ORVIK_PLATFORM_API bool ReadFromFile(FileHandle file, void* buffer, uint32_t size, uint32_t* bytesRead);
/// Writes size bytes; *bytesWritten (when not null) says how many went.
/// False on a write error.
ORVIK_PLATFORM_API bool WriteToFile(FileHandle file, const void* data, uint32_t size, uint32_t* bytesWritten);
/// Closes an open file; false when the handle names none.
ORVIK_PLATFORM_API bool CloseFile(FileHandle file);

/// Deletes a file (not a directory); false with the last error set when it
/// could not.
ORVIK_PLATFORM_API bool RemoveFile(const char* path);
/// Creates one directory level; fails when it exists (183) or its parent is
/// missing (3).
ORVIK_PLATFORM_API bool MakeDirectory(const char* path);
/// A file or directory of that name exists.
ORVIK_PLATFORM_API bool PathIsPresent(const char* path);

/// Lists the entries matching pattern ("dir\*", "dir\*.log", ...), "." and
/// ".." included. InvalidFindHandle() when nothing matches or the directory
/// is missing.
ORVIK_PLATFORM_API FindHandle FindFirstEntry(const char* pattern, FindData* data);
/// The listing's next entry; false when there is none (last error 18).
ORVIK_PLATFORM_API bool FindNextEntry(FindHandle find, FindData* data);
/// Ends a listing.
ORVIK_PLATFORM_API void CloseFind(FindHandle find);

/// -1, 0 or 1 as a is earlier than, equal to or later than b.
ORVIK_PLATFORM_API int CompareFileTimes(const FileTime* a, const FileTime* b);

/// UniqueHandle traits of an open file.
struct FileTraits {
    using Handle = FileHandle;  ///< What is held.
    /// Nothing held: the failure value.
    static Handle Empty() { return InvalidFileHandle(); }
    /// A closed log file is 0: nothing to close either.
    static bool IsOpen(Handle file) { return file != nullptr && file != InvalidFileHandle(); }
    /// Closes the file.
    static void Close(Handle file) { CloseFile(file); }
};
/// An open file, closed when its owner goes.
using UniqueFile = UniqueHandle<FileTraits>;

/// UniqueHandle traits of a directory listing.
struct FindTraits {
    using Handle = FindHandle;  ///< What is held.
    /// Nothing held: no listing.
    static Handle Empty() { return InvalidFindHandle(); }
    /// A listing is held.
    static bool IsOpen(Handle find) { return find != nullptr && find != InvalidFindHandle(); }
    /// Ends the listing.
    static void Close(Handle find) { CloseFind(find); }
};
/// A directory listing, closed when its owner goes.
using UniqueFind = UniqueHandle<FindTraits>;

}  // namespace Platform
}  // namespace Orvik
