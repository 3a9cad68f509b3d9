#include "platform/posix/elf_sections.h"

#include <elf.h>

#include <cstring>

namespace Orvik {
namespace Platform {

namespace {

// Longer section names are not ours.
constexpr size_t kMaxName = 64;
// How far before the section headers their names are looked for.
constexpr uint64_t kNamesBefore = 1024;

// The fields of a section header this reader needs, from either class.
struct Section {
    uint32_t name;
    uint32_t type;
    uint64_t offset;
    uint64_t size;
    uint32_t link;
};

template <class Header, class SectionHeader>
class SectionTable {
public:
    bool Read(const ElfImage& image)
    {
        Header header;
        if (!image.ReadObject(0, &header) || header.e_shentsize != sizeof(SectionHeader) || header.e_shoff == 0) {
            return false;
        }
        offset_ = header.e_shoff;
        count_ = header.e_shnum;
        names_ = header.e_shstrndx;
        // Counts beyond the header's fields live in the first section header.
        Section first;
        if ((count_ == 0 || names_ == SHN_XINDEX) && !At(image, 0, &first)) return false;
        if (count_ == 0) count_ = first.size;
        if (names_ == SHN_XINDEX) names_ = first.link;
        return count_ <= image.size() / sizeof(SectionHeader);
    }

    bool At(const ElfImage& image, uint64_t index, Section* section) const
    {
        SectionHeader raw;
        if (!image.ReadObject(offset_ + index * sizeof raw, &raw)) return false;
        *section = {raw.sh_name, raw.sh_type, raw.sh_offset, raw.sh_size, raw.sh_link};
        return true;
    }

    // The headers are read one by one, and the names piece by piece; linkers
    // put the names just before the headers, which come along in one read.
    void Prefetch(const ElfImage& image) const
    {
        const uint64_t before = offset_ < kNamesBefore ? offset_ : kNamesBefore;
        image.Prefetch(offset_ - before, before + count_ * sizeof(SectionHeader));
    }

    uint64_t count() const { return count_; }
    uint64_t names() const { return names_; }

private:
    uint64_t offset_ = 0;
    uint64_t count_ = 0;
    uint64_t names_ = 0;
};

bool NameIs(const ElfImage& image, const Section& names, uint32_t at, const char* wanted)
{
    const size_t wantedSize = std::strlen(wanted) + 1;
    if (at >= names.size || wantedSize > kMaxName) return false;
    char name[kMaxName] = {};
    const uint64_t length = names.size - at < wantedSize ? names.size - at : wantedSize;
    return image.Read(names.offset + at, name, length) && std::memcmp(name, wanted, wantedSize) == 0;
}

template <class Header, class SectionHeader>
SectionSearch Search(const ElfImage& image, const char* name, void* out, size_t capacity, uint64_t* size)
{
    SectionTable<Header, SectionHeader> table;
    Section names;
    if (!table.Read(image)) return SectionSearch::NotElf;
    table.Prefetch(image);
    if (table.names() >= table.count() || !table.At(image, table.names(), &names)) return SectionSearch::NotElf;
    image.Prefetch(names.offset, names.size);
    for (uint64_t i = 1; i < table.count(); ++i) {
        Section section;
        if (!table.At(image, i, &section)) return SectionSearch::NotElf;
        if (section.type == SHT_NOBITS || !NameIs(image, names, section.name, name)) continue;
        const uint64_t wanted = section.size < capacity ? section.size : capacity;
        const bool inside = section.offset <= image.size() && section.size <= image.size() - section.offset;
        if (!inside || !image.Read(section.offset, out, wanted)) return SectionSearch::NotElf;
        *size = section.size;
        return SectionSearch::Found;
    }
    return SectionSearch::NoSuchSection;
}

}  // namespace

SectionSearch ReadElfSection(const ElfImage& image, const char* name, void* out, size_t capacity, uint64_t* size)
{
    unsigned char ident[EI_NIDENT];
    if (!image.Read(0, ident, sizeof ident) || std::memcmp(ident, ELFMAG, SELFMAG) != 0 ||
        ident[EI_DATA] != ELFDATA2LSB) {
        return SectionSearch::NotElf;
    }
    if (ident[EI_CLASS] == ELFCLASS64) return Search<Elf64_Ehdr, Elf64_Shdr>(image, name, out, capacity, size);
    if (ident[EI_CLASS] == ELFCLASS32) return Search<Elf32_Ehdr, Elf32_Shdr>(image, name, out, capacity, size);
    return SectionSearch::NotElf;
}

}  // namespace Platform
}  // namespace Orvik
