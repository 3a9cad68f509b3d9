#pragma once
// The bytes of a module file as the check before loading reads them: every
// read is bounded by the file's size, so a header that points past the end
// is caught instead of followed.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Orvik {
namespace Platform {

class ElfImage {
public:
    virtual ~ElfImage() = default;

    uint64_t size() const { return size_; }

    // Copies count bytes from offset; false when any of them lies outside
    // the file or cannot be read.
    bool Read(uint64_t offset, void* out, uint64_t count) const
    {
        return offset <= size_ && count <= size_ - offset && ReadInside(offset, out, count);
    }

    template <class T>
    bool ReadObject(uint64_t offset, T* out) const
    {
        return Read(offset, out, sizeof(T));
    }

    // Says that the count bytes from offset are about to be read in pieces;
    // an image that reads its file may fetch them at once. Only a hint.
    virtual void Prefetch(uint64_t, uint64_t) const {}

    // count objects from offset; false as Read. The count is bounded by the
    // file's size before anything is allocated.
    template <class T>
    bool ReadArray(uint64_t offset, uint64_t count, std::vector<T>* out) const
    {
        if (count > size_ / sizeof(T)) return false;
        out->resize(static_cast<size_t>(count));
        return Read(offset, out->data(), count * sizeof(T));
    }

protected:
    explicit ElfImage(uint64_t size) : size_(size) {}

private:
    virtual bool ReadInside(uint64_t offset, void* out, uint64_t count) const = 0;

    uint64_t size_;
};

// A file's bytes held in memory.
class MemoryElfImage final : public ElfImage {
public:
    MemoryElfImage(const void* data, size_t size);

private:
    bool ReadInside(uint64_t offset, void* out, uint64_t count) const override;

    const unsigned char* data_;
};

// An open file of the size fstat reported. A file that shrinks meanwhile
// reads short, which fails the read. The check reads many small pieces
// that lie close together, and a call of the system costs more than the
// bytes it copies: a small read fetches at least a kilobyte into a buffer
// of fixed size, and the check announces the tables it is about to read
// piece by piece, which come in one call. Large reads go straight to the
// caller. Nothing else of the file is read.
class FileElfImage final : public ElfImage {
public:
    FileElfImage(int descriptor, uint64_t size);
    ~FileElfImage() override;
    FileElfImage(const FileElfImage&) = delete;
    FileElfImage& operator=(const FileElfImage&) = delete;

    // The errno of a read the system failed, 0 when none did: a device
    // error is no damaged file.
    int readError() const { return readError_; }

    void Prefetch(uint64_t offset, uint64_t count) const override;

private:
    // Bytes of the file held in buffer_, from position at.
    struct Span {
        uint64_t offset;
        uint64_t length;
        size_t at;
    };
    static constexpr size_t kBufferBytes = 32 * 1024;
    static constexpr size_t kMaxSpans = 8;

    bool ReadInside(uint64_t offset, void* out, uint64_t count) const override;
    // The span holding count bytes from offset, read when none does; null
    // when they cannot be read.
    const Span* Fetch(uint64_t offset, uint64_t count) const;
    bool ReadFile(uint64_t offset, unsigned char* out, uint64_t count) const;

    int descriptor_;
    // Taken or made on the first read, and filled from the start again once
    // full.
    mutable std::unique_ptr<unsigned char[]> buffer_;
    mutable Span spans_[kMaxSpans] = {};
    mutable size_t spanCount_ = 0;
    mutable size_t used_ = 0;
    mutable int readError_ = 0;
};

}  // namespace Platform
}  // namespace Orvik
