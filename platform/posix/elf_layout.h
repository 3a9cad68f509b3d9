#pragma once
// The shape of an ELF module in memory, from its file header and program
// headers: checked so that the loader maps nothing beyond the end of the
// file and reads no segment outside what it maps.

#include <link.h>

#include <cstdint>
#include <vector>

#include "platform/posix/elf_image.h"

namespace Orvik {
namespace Platform {

using ElfAddress = ElfW(Addr);

// The fields packed into symbol and relocation entries of this class.
inline unsigned SymbolType(unsigned char info) { return info & 0xf; }
#if __ELF_NATIVE_CLASS == 64
inline uint32_t RelocationType(uint64_t info) { return ELF64_R_TYPE(info); }
inline uint64_t RelocationSymbol(uint64_t info) { return ELF64_R_SYM(info); }
#else
inline uint32_t RelocationType(uint32_t info) { return ELF32_R_TYPE(info); }
inline uint64_t RelocationSymbol(uint32_t info) { return ELF32_R_SYM(info); }
#endif

// A part of the module's memory, as addresses before relocation.
struct AddressRange {
    ElfAddress start;
    uint64_t size;
};

class ElfLayout {
public:
    // Reads and checks the headers; false when the file is no shared object
    // of this process's kind or its segments do not fit the file.
    bool Read(const ElfImage& image);
    // Why Read refused the file: a fixed text, null after a pass.
    const char* refusal() const { return refusal_; }

    // The file offset of range when it lies in the part of one segment that
    // the file fills.
    bool FileOffset(AddressRange range, uint64_t* offset) const;
    // Whether range lies in the memory of one segment that has all of flags
    // (PF_W, PF_X); a range of size 0 may end a segment.
    bool InMemory(AddressRange range, uint32_t flags) const;

    // The dynamic section, in the file part of a segment.
    AddressRange dynamic() const { return dynamic_; }
    // The loadable segments in ascending order.
    const std::vector<ElfW(Phdr)>& loads() const { return loads_; }

private:
    bool ReadHeader(const ElfImage& image, ElfW(Ehdr)* header);
    bool ReadLoadSegments(const std::vector<ElfW(Phdr)>& headers);
    bool CheckOtherSegment(const ElfW(Phdr)& header, const ElfW(Ehdr)& file);
    bool Refuse(const char* reason)
    {
        refusal_ = reason;
        return false;
    }

    // The loadable segments in ascending order, none sharing a page.
    std::vector<ElfW(Phdr)> loads_;
    AddressRange dynamic_{};
    const char* refusal_ = nullptr;
};

}  // namespace Platform
}  // namespace Orvik
