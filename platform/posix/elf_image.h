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
// reads short, which fails the read. The check reads many small pieces that
// lie close together: the file is read in blocks, each once.
class FileElfImage final : public ElfImage {
public:
    FileElfImage(int descriptor, uint64_t size);

    // The errno of a read the system failed, 0 when none did: a device
    // error is no damaged file.
    int readError() const { return readError_; }

private:
    bool ReadInside(uint64_t offset, void* out, uint64_t count) const override;
    // The block's bytes, read on first use; null when they cannot be read.
    const unsigned char* Block(uint64_t index) const;

    int descriptor_;
    // Left uninitialised until read: the read fills each block whole.
    mutable std::vector<std::unique_ptr<unsigned char[]>> blocks_;
    mutable int readError_ = 0;
};

}  // namespace Platform
}  // namespace Orvik
