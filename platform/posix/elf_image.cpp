#include "platform/posix/elf_image.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace Orvik {
namespace Platform {

MemoryElfImage::MemoryElfImage(const void* data, size_t size)
    : ElfImage(size), data_(static_cast<const unsigned char*>(data))
{
}

bool MemoryElfImage::ReadInside(uint64_t offset, void* out, uint64_t count) const
{
    if (count > 0) std::memcpy(out, data_ + offset, static_cast<size_t>(count));
    return true;
}

namespace {

constexpr uint64_t kHeadBytes = 64 * 1024;

// Reads count bytes at offset, fewer only at the end of the file or on an
// error; the number read.
uint64_t ReadAt(int descriptor, unsigned char* bytes, uint64_t count, uint64_t offset)
{
    uint64_t done = 0;
    while (done < count) {
        const ssize_t got = pread(descriptor, bytes + done, static_cast<size_t>(count - done),
                                  static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        done += static_cast<uint64_t>(got);
    }
    return done;
}

}  // namespace

FileElfImage::FileElfImage(int descriptor, uint64_t size) : ElfImage(size), descriptor_(descriptor)
{
    head_.resize(static_cast<size_t>(size < kHeadBytes ? size : kHeadBytes));
    head_.resize(static_cast<size_t>(ReadAt(descriptor, head_.data(), head_.size(), 0)));
}

bool FileElfImage::ReadInside(uint64_t offset, void* out, uint64_t count) const
{
    if (offset + count <= head_.size()) {
        if (count > 0) std::memcpy(out, head_.data() + offset, static_cast<size_t>(count));
        return true;
    }
    return ReadAt(descriptor_, static_cast<unsigned char*>(out), count, offset) == count;
}

}  // namespace Platform
}  // namespace Orvik
