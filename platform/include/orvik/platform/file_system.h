#pragma once
// Files and directories.

#include "orvik/platform/platform_api.h"
#include "orvik/platform/unique_handle.h"

namespace Orvik {
namespace Platform {

// An open file; pointer-sized. Failure is all bits set, a closed file 0.
using FileHandle = void*;
inline FileHandle InvalidFileHandle() { return reinterpret_cast<FileHandle>(~uintptr_t{0}); }

// 100-nanosecond intervals since 1601-01-01 (UTC), split in two halves.
struct FileTime {
    uint32_t low;
    uint32_t high;
};

constexpr uint32_t kFileAttributeDirectory = 0x10;

// One entry of a directory listing.
struct FindData {
    uint32_t attributes;
    FileTime creationTime;
    FileTime lastAccessTime;
    FileTime lastWriteTime;
    uint32_t sizeHigh;
    uint32_t sizeLow;
    char name[kMaxPath];
};

// A directory listing; its own type, so it is never taken for a file.
struct DirectoryListing;
using FindHandle = DirectoryListing*;
// No listing: all bits set.
inline FindHandle InvalidFindHandle() { return reinterpret_cast<FindHandle>(~uintptr_t{0}); }

// Opens an existing file for reading, others may read it too. Invalid on
// failure (last error 2 file not found, 3 path not found, 5 access denied).
ORVIK_PLATFORM_API FileHandle OpenFileForReading(const char* path);
// Creates or empties a file for writing; others may read it meanwhile.
ORVIK_PLATFORM_API FileHandle CreateFileForWriting(const char* path);
// The low 32 bits of the file's size.
ORVIK_PLATFORM_API uint32_t GetFileSizeLow(FileHandle file);
ORVIK_PLATFORM_API bool ReadFromFile(FileHandle file, void* buffer, uint32_t size, uint32_t* bytesRead);
ORVIK_PLATFORM_API bool WriteToFile(FileHandle file, const void* data, uint32_t size, uint32_t* bytesWritten);
ORVIK_PLATFORM_API bool CloseFile(FileHandle file);

ORVIK_PLATFORM_API bool RemoveFile(const char* path);
// Creates one directory level; fails when it exists (183) or its parent is
// missing (3).
ORVIK_PLATFORM_API bool MakeDirectory(const char* path);
// A file or directory of that name exists.
ORVIK_PLATFORM_API bool PathIsPresent(const char* path);

// Lists the entries matching pattern ("dir\*", "dir\*.log", ...), "." and
// ".." included. InvalidFindHandle() when nothing matches or the directory
// is missing.
ORVIK_PLATFORM_API FindHandle FindFirstEntry(const char* pattern, FindData* data);
ORVIK_PLATFORM_API bool FindNextEntry(FindHandle find, FindData* data);
ORVIK_PLATFORM_API void CloseFind(FindHandle find);

// -1, 0 or 1 as a is earlier than, equal to or later than b.
ORVIK_PLATFORM_API int CompareFileTimes(const FileTime* a, const FileTime* b);

struct FileTraits {
    using Handle = FileHandle;
    static Handle Empty() { return InvalidFileHandle(); }
    // A closed log file is 0: nothing to close either.
    static bool IsOpen(Handle file) { return file != nullptr && file != InvalidFileHandle(); }
    static void Close(Handle file) { CloseFile(file); }
};
// An open file, closed when its owner goes.
using UniqueFile = UniqueHandle<FileTraits>;

struct FindTraits {
    using Handle = FindHandle;
    static Handle Empty() { return InvalidFindHandle(); }
    static bool IsOpen(Handle find) { return find != nullptr && find != InvalidFindHandle(); }
    static void Close(Handle find) { CloseFind(find); }
};
// A directory listing, closed when its owner goes.
using UniqueFind = UniqueHandle<FindTraits>;

}  // namespace Platform
}  // namespace Orvik
