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

FileElfImage::FileElfImage(int descriptor, uint64_t size) : ElfImage(size), descriptor_(descriptor) {}

bool FileElfImage::ReadInside(uint64_t offset, void* out, uint64_t count) const
{
    auto* bytes = static_cast<unsigned char*>(out);
    while (count > 0) {
        const ssize_t got = pread(descriptor_, bytes, static_cast<size_t>(count), static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) readError_ = errno;
        if (got <= 0) return false;
        bytes += got;
        offset += static_cast<uint64_t>(got);
        count -= static_cast<uint64_t>(got);
    }
    return true;
}

}  // namespace Platform
}  // namespace Orvik
