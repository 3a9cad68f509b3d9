#include "orvik/platform/file_system.h"

#include <io.h>
#include <windows.h>

#include <cstring>

namespace Orvik {
namespace Platform {

namespace {

FileTime FromWindows(const FILETIME& time) { return FileTime{time.dwLowDateTime, time.dwHighDateTime}; }

FILETIME ToWindows(const FileTime& time) { return FILETIME{time.low, time.high}; }

void CopyFindData(const WIN32_FIND_DATAA& from, FindData* to)
{
    to->attributes = from.dwFileAttributes;
    to->creationTime = FromWindows(from.ftCreationTime);
    to->lastAccessTime = FromWindows(from.ftLastAccessTime);
    to->lastWriteTime = FromWindows(from.ftLastWriteTime);
    to->sizeHigh = from.nFileSizeHigh;
    to->sizeLow = from.nFileSizeLow;
    static_assert(sizeof to->name == sizeof from.cFileName, "name buffers differ");
    std::memcpy(to->name, from.cFileName, sizeof to->name);
}

}  // namespace

FileHandle OpenFileForReading(const char* path)
{
    HANDLE file = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    // Only a file on disk is read: a device or a pipe has no contents of a
    // known size, and reading one may wait.
    if (file != INVALID_HANDLE_VALUE && GetFileType(file) != FILE_TYPE_DISK) {
        CloseHandle(file);
        SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    }
    return file;
}

FileHandle CreateFileForWriting(const char* path)
{
    return CreateFileA(path, FILE_GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr);
}

uint32_t GetFileSizeLow(FileHandle file) { return GetFileSize(file, nullptr); }

bool ReadFromFile(FileHandle file, void* buffer, uint32_t size, uint32_t* bytesRead)
{
    DWORD count = 0;
    const BOOL ok = ReadFile(file, buffer, size, &count, nullptr);
    if (bytesRead != nullptr) *bytesRead = count;
    return ok != FALSE;
}

bool WriteToFile(FileHandle file, const void* data, uint32_t size, uint32_t* bytesWritten)
{
    DWORD count = 0;
    const BOOL ok = WriteFile(file, data, size, &count, nullptr);
    if (bytesWritten != nullptr) *bytesWritten = count;
    return ok != FALSE;
}

bool CloseFile(FileHandle file) { return CloseHandle(file) != FALSE; }

bool RemoveFile(const char* path) { return DeleteFileA(path) != FALSE; }

bool MakeDirectory(const char* path) { return CreateDirectoryA(path, nullptr) != FALSE; }

bool PathIsPresent(const char* path) { return path != nullptr && _access(path, 0) == 0; }

FindHandle FindFirstEntry(const char* pattern, FindData* data)
{
    WIN32_FIND_DATAA found;
    HANDLE find = FindFirstFileA(pattern, &found);
    if (find == INVALID_HANDLE_VALUE) return InvalidFindHandle();
    CopyFindData(found, data);
    return reinterpret_cast<FindHandle>(find);
}

bool FindNextEntry(FindHandle find, FindData* data)
{
    WIN32_FIND_DATAA found;
    if (!FindNextFileA(reinterpret_cast<HANDLE>(find), &found)) return false;
    CopyFindData(found, data);
    return true;
}

void CloseFind(FindHandle find) { FindClose(reinterpret_cast<HANDLE>(find)); }

int CompareFileTimes(const FileTime* a, const FileTime* b)
{
    const FILETIME left = ToWindows(*a);
    const FILETIME right = ToWindows(*b);
    return CompareFileTime(&left, &right);
}

}  // namespace Platform
}  // namespace Orvik
