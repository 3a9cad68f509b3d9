#include "platform/posix/elf_layout.h"

#include <unistd.h>

#include <cstring>
#include <limits>

// This program's own file header, placed by the linker: modules must be of
// its class, byte order and machine.
extern "C" const ElfW(Ehdr) __ehdr_start __attribute__((visibility("hidden")));

namespace Orvik {
namespace Platform {

namespace {

bool Fits(uint64_t offset, uint64_t size, uint64_t limit) { return offset <= limit && size <= limit - offset; }

bool IsPowerOfTwo(uint64_t value) { return value != 0 && (value & (value - 1)) == 0; }

bool ValidAlignment(uint64_t align) { return align <= 1 || IsPowerOfTwo(align); }

}  // namespace

bool ElfLayout::Read(const ElfImage& image)
{
    ElfW(Ehdr) header;
    std::vector<ElfW(Phdr)> headers;
    if (!ReadHeader(image, &header) || !image.ReadArray(header.e_phoff, header.e_phnum, &headers)) return false;
    for (const ElfW(Phdr)& segment : headers) {
        if (!Fits(segment.p_offset, segment.p_filesz, image.size())) return false;
    }
    if (!ReadLoadSegments(headers)) return false;
    int dynamicSections = 0;
    for (const ElfW(Phdr)& segment : headers) {
        if (segment.p_type == PT_DYNAMIC) ++dynamicSections;
        if (!CheckOtherSegment(segment, header)) return false;
    }
    return dynamicSections == 1;
}

bool ElfLayout::ReadHeader(const ElfImage& image, ElfW(Ehdr)* header) const
{
    if (!image.ReadObject(0, header)) return false;
    const unsigned char* ident = header->e_ident;
    const unsigned char* own = __ehdr_start.e_ident;
    const bool knownAbi = ident[EI_OSABI] == ELFOSABI_SYSV || ident[EI_OSABI] == ELFOSABI_GNU;
    return std::memcmp(ident, ELFMAG, SELFMAG) == 0 && ident[EI_CLASS] == own[EI_CLASS] &&
           ident[EI_DATA] == own[EI_DATA] && ident[EI_VERSION] == EV_CURRENT && knownAbi &&
           header->e_type == ET_DYN && header->e_machine == __ehdr_start.e_machine &&
           header->e_version == EV_CURRENT && header->e_phentsize == sizeof(ElfW(Phdr)) && header->e_phnum > 0 &&
           header->e_phnum != PN_XNUM &&
           Fits(header->e_phoff, uint64_t{header->e_phnum} * sizeof(ElfW(Phdr)), image.size());
}

bool ElfLayout::ReadLoadSegments(const std::vector<ElfW(Phdr)>& headers)
{
    // The loader maps whole pages, each segment at its address with the
    // same offset within a page as in the file, in one reservation that
    // spans from the first segment to the last: segments must come in
    // ascending order and not share a page.
    const uint64_t page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    const uint64_t addressLimit = std::numeric_limits<ElfAddress>::max();
    loads_.clear();
    uint64_t previousEnd = 0;
    for (const ElfW(Phdr)& segment : headers) {
        if (segment.p_type != PT_LOAD) continue;
        if (segment.p_filesz > segment.p_memsz || !Fits(segment.p_vaddr, segment.p_memsz, addressLimit - page)) {
            return false;
        }
        if ((segment.p_vaddr - segment.p_offset) % page != 0 || !ValidAlignment(segment.p_align)) return false;
        if (!loads_.empty() && segment.p_vaddr / page * page < previousEnd) return false;
        previousEnd = (uint64_t{segment.p_vaddr} + segment.p_memsz + page - 1) / page * page;
        loads_.push_back(segment);
    }
    return !loads_.empty();
}

bool ElfLayout::CheckOtherSegment(const ElfW(Phdr)& segment, const ElfW(Ehdr)& file)
{
    uint64_t offset = 0;
    switch (segment.p_type) {
    case PT_DYNAMIC:
        // Read here from the file and by the loader from memory: the two
        // agree in the file part of a segment.
        dynamic_ = {segment.p_vaddr, segment.p_filesz};
        return segment.p_filesz >= sizeof(ElfW(Dyn)) && FileOffset(dynamic_, &offset);
    case PT_PHDR:
        // The loader lists the program headers from memory: they must be
        // the ones checked here.
        return FileOffset({segment.p_vaddr, uint64_t{file.e_phnum} * sizeof(ElfW(Phdr))}, &offset) &&
               offset == file.e_phoff;
    case PT_NOTE:
    case PT_GNU_PROPERTY:
        return InMemory({segment.p_vaddr, segment.p_memsz}, 0);
    case PT_GNU_RELRO:
        return InMemory({segment.p_vaddr, segment.p_memsz}, PF_W);
    case PT_TLS:
        // Each thread's block is initialised from the file part.
        return segment.p_filesz <= segment.p_memsz && ValidAlignment(segment.p_align) &&
               InMemory({segment.p_vaddr, segment.p_filesz}, 0);
    default:
        return true;
    }
}

bool ElfLayout::FileOffset(AddressRange range, uint64_t* offset) const
{
    for (const ElfW(Phdr)& load : loads_) {
        if (range.start >= load.p_vaddr && Fits(range.start - load.p_vaddr, range.size, load.p_filesz)) {
            *offset = load.p_offset + (range.start - load.p_vaddr);
            return true;
        }
    }
    return false;
}

bool ElfLayout::InMemory(AddressRange range, uint32_t flags) const
{
    for (const ElfW(Phdr)& load : loads_) {
        if ((load.p_flags & flags) == flags && range.start >= load.p_vaddr &&
            Fits(range.start - load.p_vaddr, range.size, load.p_memsz)) {
            return true;
        }
    }
    return false;
}

}  // namespace Platform
}  // namespace Orvik
