#pragma once
// The dynamic section of a module and the tables it leads the loader to:
// strings, symbols with their hash table, symbol versions. The loader
// follows them without bounds: each is checked to lie in the file, with
// every index, chain and name inside its table.

#include <link.h>

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/posix/elf_image.h"
#include "platform/posix/elf_layout.h"

namespace Orvik {
namespace Platform {

// 64-bit machines relocate with addends in the table, 32-bit ones with
// addends in the relocated word.
constexpr bool kRelocationsHaveAddends = sizeof(ElfAddress) == 8;

class ElfDynamic {
public:
    bool Read(const ElfImage& image, const ElfLayout& layout);
    // Why Read or ExtendSymbols refused the file: a fixed text, null after a
    // pass.
    const char* refusal() const { return refusal_; }

    bool Has(int64_t tag) const
    {
        const int slot = SlotOf(tag);
        return slot >= 0 ? slotted_[static_cast<size_t>(slot)] : Find(tag) != values_.end();
    }
    // The value of tag's last entry, which is the one the loader keeps; 0
    // when there is none.
    uint64_t Value(int64_t tag) const
    {
        const int slot = SlotOf(tag);
        if (slot >= 0) return slotValues_[static_cast<size_t>(slot)];
        const auto found = Find(tag);
        return found != values_.end() ? found->second : 0;
    }
    // The string at offset of the string table; offset is checked to lie
    // in it for every string the dynamic section names.
    std::string String(uint64_t offset) const { return Text(offset); }

    // Takes the symbols up to count in, beyond those the hash table
    // reaches (undefined ones may lie beyond them): the loader reads every
    // symbol a relocation names, and its version.
    bool ExtendSymbols(uint64_t count);

    const std::vector<uint64_t>& needed() const { return needed_; }
    const std::vector<ElfW(Sym)>& symbols() const { return symbols_; }
    // The tables the loader reads while it relocates the module.
    const std::vector<AddressRange>& tables() const { return tables_; }

private:
    using Entry = std::pair<int64_t, uint64_t>;

    // The tags the check asks for again and again have a slot each: the
    // generic ones below 64, the symbol version ones and the GNU hash
    // table's. -1 for the rest.
    static constexpr int64_t kFirstVersionTag = DT_VERSYM;
    static constexpr int kSlots = 64 + 16 + 1;
    static int SlotOf(int64_t tag)
    {
        if (tag >= 0 && tag < 64) return static_cast<int>(tag);
        if (tag >= kFirstVersionTag && tag < kFirstVersionTag + 16) {
            return static_cast<int>(64 + tag - kFirstVersionTag);
        }
        return tag == DT_GNU_HASH ? kSlots - 1 : -1;
    }

    std::vector<Entry>::const_iterator Find(int64_t tag) const;
    const char* Text(uint64_t offset) const { return strings_.data() + offset; }
    bool ReadEntries();
    bool CheckEntrySizes() const;
    void PrefetchTables() const;
    bool ReadStrings();
    bool CountSymbols(uint64_t* count);
    bool CountGnuHashSymbols(uint64_t* count);
    bool CountSysvHashSymbols(uint64_t* count);
    bool CheckSymbol(const ElfW(Sym)& symbol) const;
    bool ReadVersionRecords();
    bool ReadNeededVersions();
    bool ReadDefinedVersions();
    void MarkDefined(uint32_t index);
    bool Refuse(const char* reason)
    {
        refusal_ = reason;
        return false;
    }

    // count objects at address, in the file part of one segment.
    template <class T>
    bool ReadTable(uint64_t address, uint64_t count, std::vector<T>* out) const;
    template <class T>
    bool ReadAt(uint64_t address, T* out) const;

    const ElfImage* image_ = nullptr;
    const ElfLayout* layout_ = nullptr;
    // The value of each tag: in its slot, or among the rest by tag.
    std::array<uint64_t, kSlots> slotValues_{};
    std::array<bool, kSlots> slotted_{};
    std::vector<Entry> values_;
    std::vector<uint64_t> needed_;
    std::vector<char> strings_;
    std::vector<ElfW(Sym)> symbols_;
    // Which version indexes have a record; the first two are fixed.
    std::vector<bool> versionDefined_;
    std::vector<AddressRange> tables_;
    // Where tables_ holds the symbol table and the version table.
    size_t symbolTable_ = 0;
    size_t versionTable_ = 0;
    const char* refusal_ = nullptr;
};

}  // namespace Platform
}  // namespace Orvik
