#include "platform/posix/elf_image.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

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

constexpr uint64_t kBlockBytes = 8 * 1024;

}  // namespace

FileElfImage::FileElfImage(int descriptor, uint64_t size) : ElfImage(size), descriptor_(descriptor) {}

const unsigned char* FileElfImage::Block(uint64_t index) const
{
    if (index >= blocks_.size()) blocks_.resize(static_cast<size_t>(index + 1));
    std::unique_ptr<unsigned char[]>& block = blocks_[static_cast<size_t>(index)];
    if (block != nullptr) return block.get();
    const uint64_t start = index * kBlockBytes;
    const uint64_t length = size() - start < kBlockBytes ? size() - start : kBlockBytes;
    std::unique_ptr<unsigned char[]> bytes(new unsigned char[static_cast<size_t>(length)]);
    uint64_t done = 0;
    while (done < length) {
        const ssize_t got = pread(descriptor_, bytes.get() + done, static_cast<size_t>(length - done),
                                  static_cast<off_t>(start + done));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) readError_ = errno;
        if (got <= 0) return nullptr;
        done += static_cast<uint64_t>(got);
    }
    block = std::move(bytes);
    return block.get();
}

bool FileElfImage::ReadInside(uint64_t offset, void* out, uint64_t count) const
{
    auto* bytes = static_cast<unsigned char*>(out);
    while (count > 0) {
        const unsigned char* block = Block(offset / kBlockBytes);
        if (block == nullptr) return false;
        const uint64_t within = offset % kBlockBytes;
        const uint64_t part = count < kBlockBytes - within ? count : kBlockBytes - within;
        std::memcpy(bytes, block + within, static_cast<size_t>(part));
        bytes += part;
        offset += part;
        count -= part;
    }
    return true;
}

}  // namespace Platform
}  // namespace Orvik
