#include "platform/posix/elf_image.h"

#include <unistd.h>

#include <atomic>
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

// One buffer kept for the process, taken by an image while it reads: files
// are checked one after another as a rule, and memory touched before
// costs no page faults, where a fresh allocation in between the loader's
// would.
std::atomic<unsigned char*> g_spareBuffer{nullptr};

// The least a read from the file fetches: the file header with the program
// headers that follow it, or a run of small records.
constexpr uint64_t kLeastRead = 1024;

}  // namespace

FileElfImage::FileElfImage(int descriptor, uint64_t size) : ElfImage(size), descriptor_(descriptor) {}

FileElfImage::~FileElfImage()
{
    unsigned char* none = nullptr;
    if (buffer_ != nullptr && g_spareBuffer.compare_exchange_strong(none, buffer_.get())) buffer_.release();
}

bool FileElfImage::ReadFile(uint64_t offset, unsigned char* out, uint64_t count) const
{
    uint64_t done = 0;
    while (done < count) {
        const ssize_t got =
            pread(descriptor_, out + done, static_cast<size_t>(count - done), static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) readError_ = errno;
        if (got <= 0) return false;
        done += static_cast<uint64_t>(got);
    }
    return true;
}

const FileElfImage::Span* FileElfImage::Fetch(uint64_t offset, uint64_t count) const
{
    for (size_t i = 0; i < spanCount_; ++i) {
        const Span& span = spans_[i];
        const uint64_t within = offset - span.offset;
        if (offset >= span.offset && within <= span.length && count <= span.length - within) return &span;
    }
    // Callers keep within the file and ask at most the buffer's size.
    uint64_t length = count > kLeastRead ? count : kLeastRead;
    if (length > size() - offset) length = size() - offset;
    if (buffer_ == nullptr) buffer_.reset(g_spareBuffer.exchange(nullptr));
    if (buffer_ == nullptr) buffer_.reset(new unsigned char[kBufferBytes]);
    if (spanCount_ == kMaxSpans || length > kBufferBytes - used_) spanCount_ = used_ = 0;
    if (!ReadFile(offset, buffer_.get() + used_, length)) return nullptr;
    Span& span = spans_[spanCount_++];
    span = {offset, length, used_};
    used_ += static_cast<size_t>(length);
    return &span;
}

void FileElfImage::Prefetch(uint64_t offset, uint64_t count) const
{
    if (offset > size() || count > size() - offset || count > kBufferBytes) return;
    Fetch(offset, count);
}

bool FileElfImage::ReadInside(uint64_t offset, void* out, uint64_t count) const
{
    auto* bytes = static_cast<unsigned char*>(out);
    if (count > kBufferBytes / 2) return ReadFile(offset, bytes, count);
    const Span* span = Fetch(offset, count);
    if (span == nullptr) return false;
    if (count > 0) std::memcpy(bytes, buffer_.get() + span->at + (offset - span->offset), static_cast<size_t>(count));
    return true;
}

}  // namespace Platform
}  // namespace Orvik
