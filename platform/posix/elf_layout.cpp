#include "platform/posix/elf_layout.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <limits>

// This program's own file header, placed by the linker: modules must be of
// its class, byte order and machine.
extern "C" const ElfW(Ehdr) __ehdr_start __attribute__((visibility("hidden")));

namespace Orvik {
namespace Platform {

namespace {

bool Fits(uint64_t offset, uint64_t size, uint64_t limit) { return offset <= limit && size <= limit - offset; }

// What the first read of a file takes in.
constexpr uint64_t kFirstRead = 16 * 1024;

bool IsPowerOfTwo(uint64_t value) { return value != 0 && (value & (value - 1)) == 0; }

bool ValidAlignment(uint64_t align) { return align <= 1 || IsPowerOfTwo(align); }

}  // namespace

bool ElfLayout::Read(const ElfImage& image)
{
    refusal_ = nullptr;
    ElfW(Ehdr) header;
    std::vector<ElfW(Phdr)> headers;
    // The tables the dynamic section points at follow the headers as a
    // rule: a module's first kilobytes come in one read.
    image.Prefetch(0, std::min<uint64_t>(image.size(), kFirstRead));
    if (!ReadHeader(image, &header)) return false;
    if (!image.ReadArray(header.e_phoff, header.e_phnum, &headers)) {
        return Refuse("file cut short inside its program headers");
    }
    // The loader maps segments from the file as they are: one that reaches
    // past its end faults when first touched.
    for (const ElfW(Phdr)& segment : headers) {
        if (!Fits(segment.p_offset, segment.p_filesz, image.size())) {
            return Refuse("a segment reaches past the end of the file");
        }
    }
    if (!ReadLoadSegments(headers)) return false;
    int dynamicSections = 0;
    for (const ElfW(Phdr)& segment : headers) {
        if (segment.p_type == PT_DYNAMIC) ++dynamicSections;
        if (!CheckOtherSegment(segment, header)) return false;
    }
    return dynamicSections == 1 || Refuse("not exactly one dynamic section");
}

// The rest of the check reads the file with this machine's layouts, and a
// file of another kind is no module here (193) whatever the loader says.
bool ElfLayout::ReadHeader(const ElfImage& image, ElfW(Ehdr)* header)
{
    if (!image.ReadObject(0, header)) return Refuse("file cut short inside its file header");
    const unsigned char* ident = header->e_ident;
    const unsigned char* own = __ehdr_start.e_ident;
    const bool knownAbi = ident[EI_OSABI] == ELFOSABI_SYSV || ident[EI_OSABI] == ELFOSABI_GNU;
    const bool ownKind = std::memcmp(ident, ELFMAG, SELFMAG) == 0 && ident[EI_CLASS] == own[EI_CLASS] &&
                         ident[EI_DATA] == own[EI_DATA] && ident[EI_VERSION] == EV_CURRENT && knownAbi &&
                         header->e_type == ET_DYN && header->e_machine == __ehdr_start.e_machine &&
                         header->e_version == EV_CURRENT && header->e_phentsize == sizeof(ElfW(Phdr));
    if (!ownKind) return Refuse("not a shared object for this machine");
    if (header->e_phnum == 0 || header->e_phnum == PN_XNUM) return Refuse("no program headers");
    return Fits(header->e_phoff, uint64_t{header->e_phnum} * sizeof(ElfW(Phdr)), image.size()) ||
           Refuse("file cut short inside its program headers");
}

bool ElfLayout::ReadLoadSegments(const std::vector<ElfW(Phdr)>& headers)
{
    // The loader reserves one span from the first segment to the end of the
    // last and maps each segment's pages into it at a fixed address: a
    // segment out of order, sharing a page with the one before or longer in
    // the file than in memory is mapped over memory outside the span. (It
    // refuses misplaced segments itself, and ignores their alignment.)
    const uint64_t page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    const uint64_t addressLimit = std::numeric_limits<ElfAddress>::max();
    loads_.clear();
    uint64_t previousEnd = 0;
    for (const ElfW(Phdr)& segment : headers) {
        if (segment.p_type != PT_LOAD) continue;
        if (segment.p_filesz > segment.p_memsz || !Fits(segment.p_vaddr, segment.p_memsz, addressLimit - page)) {
            return Refuse("a loadable segment larger in the file than in memory or beyond the address space");
        }
        if (!loads_.empty() && segment.p_vaddr / page * page < previousEnd) {
            return Refuse("loadable segments out of order or sharing a page");
        }
        previousEnd = (uint64_t{segment.p_vaddr} + segment.p_memsz + page - 1) / page * page;
        loads_.push_back(segment);
    }
    return !loads_.empty() || Refuse("no loadable segment");
}

// Segments the loader reads or changes in memory once the module is mapped:
// each must lie in what it maps.
bool ElfLayout::CheckOtherSegment(const ElfW(Phdr)& segment, const ElfW(Ehdr)& file)
{
    uint64_t offset = 0;
    switch (segment.p_type) {
    case PT_DYNAMIC:
        // Read here from the file and by the loader from memory: the two
        // agree in the file part of a segment.
        dynamic_ = {segment.p_vaddr, segment.p_filesz};
        return (segment.p_filesz >= sizeof(ElfW(Dyn)) && FileOffset(dynamic_, &offset)) ||
               Refuse("dynamic section outside the file");
    case PT_PHDR:
        // The loader lists the program headers from memory: they must be
        // the ones checked here.
        return (FileOffset({segment.p_vaddr, uint64_t{file.e_phnum} * sizeof(ElfW(Phdr))}, &offset) &&
                offset == file.e_phoff) ||
               Refuse("program headers in memory are not those of the file");
    case PT_GNU_PROPERTY:
        // Read while the module loads; other notes are not.
        return InMemory({segment.p_vaddr, segment.p_memsz}, 0) || Refuse("the property note outside the module");
    case PT_GNU_RELRO:
        // Made read-only after relocation: outside the module it would be
        // some other memory of the process.
        return InMemory({segment.p_vaddr, segment.p_memsz}, 0) ||
               Refuse("the range protected after relocation outside the module");
    case PT_TLS:
        // Each thread's block is initialised from the file part.
        return (segment.p_filesz <= segment.p_memsz && ValidAlignment(segment.p_align) &&
                InMemory({segment.p_vaddr, segment.p_filesz}, 0)) ||
               Refuse("thread-local data outside the module");
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
