#include "orvik/platform/file_system.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "orvik/platform/module_loader.h"
#include "platform/posix/error_numbers.h"
#include "platform/posix/native_path.h"

namespace Orvik {
namespace Platform {

namespace {

struct OpenFile {
    int descriptor;
};

std::string ParentOf(const std::string& nativePath)
{
    const size_t slash = nativePath.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : nativePath.substr(0, slash);
}

bool IsDirectory(const std::string& nativePath)
{
    struct stat info;
    return stat(nativePath.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// Windows tells a missing file (2) from a missing directory on the way (3).
uint32_t MissingReason(const std::string& nativePath)
{
    return IsDirectory(ParentOf(nativePath)) ? kErrorFileNotFound : kErrorPathNotFound;
}

uint32_t FileError(int error, const std::string& nativePath)
{
    return error == ENOENT || error == ENOTDIR ? MissingReason(nativePath) : ErrorFromErrno(error);
}

// Why an open descriptor is not handed out as a file: 0 when it may be.
// Only a regular file is read: a directory, FIFO, socket or device has no
// contents of a known size and is refused. regular tells what it is.
uint32_t RefusalOf(int descriptor, bool reading, bool* regular)
{
    struct stat info;
    if (fstat(descriptor, &info) != 0) return ErrorFromErrno(errno);
    *regular = S_ISREG(info.st_mode);
    return reading && !*regular ? kErrorAccessDenied : kErrorSuccess;
}

// Files are opened without waiting: a FIFO would wait for its other end.
// A directory opens for reading and is refused as no regular file; for
// writing, the open itself fails (EISDIR, access denied).
FileHandle OpenWith(const char* path, int flags)
{
    if (path == nullptr) {
        SetLastErrorCode(kErrorPathNotFound);
        return InvalidFileHandle();
    }
    const std::string native = ToNativePath(path);
    const int descriptor = open(native.c_str(), flags | O_CLOEXEC | O_NONBLOCK, 0644);
    if (descriptor < 0) {
        SetLastErrorCode(FileError(errno, native));
        return InvalidFileHandle();
    }
    bool regular = false;
    const uint32_t refusal = RefusalOf(descriptor, (flags & O_ACCMODE) == O_RDONLY, &regular);
    OpenFile* opened = refusal == kErrorSuccess ? new (std::nothrow) OpenFile{descriptor} : nullptr;
    if (opened == nullptr) {
        close(descriptor);
        SetLastErrorCode(refusal != kErrorSuccess ? refusal : kErrorNotEnoughMemory);
        return InvalidFileHandle();
    }
    // Reads and writes of a regular file never wait, whatever the flag says.
    if (!regular) fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    SetLastErrorCode(kErrorSuccess);
    return opened;
}

OpenFile* Opened(FileHandle file)
{
    if (file == nullptr || file == InvalidFileHandle()) {
        SetLastErrorCode(kErrorInvalidHandle);
        return nullptr;
    }
    return static_cast<OpenFile*>(file);
}

}  // namespace

FileHandle OpenFileForReading(const char* path)
try {
    return OpenWith(path, O_RDONLY);
} catch (const std::bad_alloc&) {
    return OutOfMemory(InvalidFileHandle());
}

// POSIX has no share modes: other writers are not locked out.
FileHandle CreateFileForWriting(const char* path)
try {
    return OpenWith(path, O_WRONLY | O_CREAT | O_TRUNC);
} catch (const std::bad_alloc&) {
    return OutOfMemory(InvalidFileHandle());
}

uint32_t GetFileSizeLow(FileHandle file)
{
    OpenFile* opened = Opened(file);
    struct stat info;
    if (opened == nullptr) return ~uint32_t{0};
    // As on Windows, a failure reads as the size 0xFFFFFFFF with a last error.
    if (fstat(opened->descriptor, &info) != 0) {
        SetLastErrorCode(ErrorFromErrno(errno));
        return ~uint32_t{0};
    }
    return static_cast<uint32_t>(static_cast<uint64_t>(info.st_size) & 0xFFFFFFFFu);
}

bool ReadFromFile(FileHandle file, void* buffer, uint32_t size, uint32_t* bytesRead)
{
    OpenFile* opened = Opened(file);
    uint32_t total = 0;
    bool ok = opened != nullptr;
    while (ok && total < size) {
        const ssize_t count = read(opened->descriptor, static_cast<char*>(buffer) + total, size - total);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            ok = count == 0;
            if (!ok) SetLastErrorCode(ErrorFromErrno(errno));
            break;
        }
        total += static_cast<uint32_t>(count);
    }
    if (bytesRead != nullptr) *bytesRead = total;
    return ok;
}

bool WriteToFile(FileHandle file, const void* data, uint32_t size, uint32_t* bytesWritten)
{
    OpenFile* opened = Opened(file);
    uint32_t total = 0;
    bool ok = opened != nullptr;
    while (ok && total < size) {
        const ssize_t count = write(opened->descriptor, static_cast<const char*>(data) + total, size - total);
        if (count < 0 && errno == EINTR) continue;
        ok = count > 0;
        if (ok) total += static_cast<uint32_t>(count);
        if (count < 0) SetLastErrorCode(ErrorFromErrno(errno));
    }
    if (bytesWritten != nullptr) *bytesWritten = total;
    return ok;
}

bool CloseFile(FileHandle file)
{
    OpenFile* opened = Opened(file);
    if (opened == nullptr) return false;
    close(opened->descriptor);
    delete opened;
    return true;
}

bool RemoveFile(const char* path)
try {
    const std::string native = ToNativePath(path);
    if (IsDirectory(native)) {
        SetLastErrorCode(kErrorAccessDenied);
        return false;
    }
    if (unlink(native.c_str()) != 0) {
        SetLastErrorCode(FileError(errno, native));
        return false;
    }
    return true;
} catch (const std::bad_alloc&) {
    return OutOfMemory(false);
}

bool MakeDirectory(const char* path)
try {
    const std::string native = ToNativePath(path);
    if (mkdir(native.c_str(), 0755) != 0) {
        SetLastErrorCode(errno == ENOENT ? kErrorPathNotFound : FileError(errno, native));
        return false;
    }
    return true;
} catch (const std::bad_alloc&) {
    return OutOfMemory(false);
}

bool PathIsPresent(const char* path)
try {
    return path != nullptr && access(ToNativePath(path).c_str(), F_OK) == 0;
} catch (const std::bad_alloc&) {
    return OutOfMemory(false);
}

int CompareFileTimes(const FileTime* a, const FileTime* b)
{
    const uint64_t left = (uint64_t{a->high} << 32) | a->low;
    const uint64_t right = (uint64_t{b->high} << 32) | b->low;
    return left < right ? -1 : (left > right ? 1 : 0);
}

}  // namespace Platform
}  // namespace Orvik
