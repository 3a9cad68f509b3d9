#include "platform/posix/elf_dynamic.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>

namespace Orvik {
namespace Platform {

namespace {

constexpr uint64_t kAddressLimit = std::numeric_limits<ElfAddress>::max();
constexpr uint32_t kVersionIndexMask = 0x7fff;

constexpr int64_t kPltRelocationKind = kRelocationsHaveAddends ? DT_RELA : DT_REL;

// A table, the tag of its size and the tag and value of its entry size.
struct SizedTable {
    int64_t address;
    int64_t size;
    int64_t entrySizeTag;
    uint64_t entrySize;
};

// The loader takes a table's size and entry size on trust once the table
// is there, and a size alone for a table: the three come together, the
// entry size as this machine's.
constexpr SizedTable kSizedTables[] = {
    {DT_RELA, DT_RELASZ, DT_RELAENT, sizeof(ElfW(Rela))},
    {DT_REL, DT_RELSZ, DT_RELENT, sizeof(ElfW(Rel))},
    {DT_RELR, DT_RELRSZ, DT_RELRENT, sizeof(ElfW(Relr))},
    {DT_JMPREL, DT_PLTRELSZ, DT_PLTREL, static_cast<uint64_t>(kPltRelocationKind)},
    {DT_INIT_ARRAY, DT_INIT_ARRAYSZ, 0, 0},
    {DT_FINI_ARRAY, DT_FINI_ARRAYSZ, 0, 0},
};

// Entries whose value is the address of a table the check reads.
constexpr int64_t kTableTags[] = {DT_STRTAB, DT_SYMTAB, DT_HASH, DT_GNU_HASH, DT_VERSYM, DT_VERNEED, DT_VERDEF,
                                  DT_RELA,   DT_REL,    DT_RELR, DT_JMPREL};

// Entries whose value is an offset into the string table.
constexpr int64_t kStringTags[] = {DT_SONAME, DT_RPATH, DT_RUNPATH, DT_AUXILIARY, DT_FILTER, DT_AUDIT, DT_DEPAUDIT};

bool IsPowerOfTwo(uint64_t value) { return value != 0 && (value & (value - 1)) == 0; }

}  // namespace

template <class T>
bool ElfDynamic::ReadTable(uint64_t address, uint64_t count, std::vector<T>* out) const
{
    uint64_t offset = 0;
    return address <= kAddressLimit && count <= image_->size() / sizeof(T) &&
           layout_->FileOffset({static_cast<ElfAddress>(address), count * sizeof(T)}, &offset) &&
           image_->ReadArray(offset, count, out);
}

template <class T>
bool ElfDynamic::ReadAt(uint64_t address, T* out) const
{
    uint64_t offset = 0;
    return address <= kAddressLimit && layout_->FileOffset({static_cast<ElfAddress>(address), sizeof(T)}, &offset) &&
           image_->ReadObject(offset, out);
}

std::vector<ElfDynamic::Entry>::const_iterator ElfDynamic::Find(int64_t tag) const
{
    const auto found = std::lower_bound(values_.begin(), values_.end(), tag,
                                        [](const Entry& entry, int64_t wanted) { return entry.first < wanted; });
    return found != values_.end() && found->first == tag ? found : values_.end();
}

bool ElfDynamic::Read(const ElfImage& image, const ElfLayout& layout)
{
    image_ = &image;
    layout_ = &layout;
    values_.clear();
    slotValues_.fill(0);
    slotted_.fill(false);
    needed_.clear();
    symbols_.clear();
    tables_.clear();
    refusal_ = nullptr;
    uint64_t hashed = 0;
    if (!ReadEntries()) return Refuse("dynamic section without its end");
    if (!CheckEntrySizes()) return Refuse("a dynamic table missing or of a wrong entry size");
    PrefetchTables();
    if (!ReadStrings()) return Refuse("string table outside the file, or a name outside it");
    if (!ReadVersionRecords()) return Refuse("symbol version records damaged");
    if (!CountSymbols(&hashed)) return Refuse("hash table outside the file or damaged");
    symbolTable_ = tables_.size();
    tables_.push_back({static_cast<ElfAddress>(Value(DT_SYMTAB)), 0});
    versionTable_ = tables_.size();
    tables_.push_back({static_cast<ElfAddress>(Value(DT_VERSYM)), 0});
    return ExtendSymbols(hashed);
}

bool ElfDynamic::ReadEntries()
{
    // The loader reads entries up to the first null one, which must come
    // within the section.
    const AddressRange section = layout_->dynamic();
    std::vector<ElfW(Dyn)> entries;
    if (!ReadTable(section.start, section.size / sizeof(ElfW(Dyn)), &entries)) return false;
    const auto end =
        std::find_if(entries.begin(), entries.end(), [](const ElfW(Dyn)& entry) { return entry.d_tag == DT_NULL; });
    if (end == entries.end()) return false;
    tables_.push_back({section.start, static_cast<uint64_t>(end - entries.begin() + 1) * sizeof(ElfW(Dyn))});
    for (auto entry = entries.begin(); entry != end; ++entry) {
        const int slot = SlotOf(entry->d_tag);
        if (entry->d_tag == DT_NEEDED) {
            needed_.push_back(entry->d_un.d_val);
        } else if (slot >= 0) {
            slotValues_[static_cast<size_t>(slot)] = entry->d_un.d_val;
            slotted_[static_cast<size_t>(slot)] = true;
        } else {
            values_.emplace_back(entry->d_tag, entry->d_un.d_val);
        }
    }
    std::stable_sort(values_.begin(), values_.end(),
                     [](const Entry& a, const Entry& b) { return a.first < b.first; });
    // Of several entries of a tag the last one counts, as for the loader.
    auto kept = values_.begin();
    for (auto entry = values_.begin(); entry != values_.end(); ++entry) {
        const auto next = std::next(entry);
        if (next == values_.end() || next->first != entry->first) *kept++ = *entry;
    }
    values_.erase(kept, values_.end());
    return true;
}

// The tables lie together as a rule, in the first segment: the check reads
// them in pieces, and the file is asked for all of them at once.
void ElfDynamic::PrefetchTables() const
{
    uint64_t low = kAddressLimit;
    uint64_t high = 0;
    for (const int64_t tag : kTableTags) {
        if (!Has(tag)) continue;
        low = std::min(low, Value(tag));
        high = std::max(high, Value(tag));
    }
    // The initialiser arrays are no tables the check reads.
    for (const SizedTable& table : kSizedTables) {
        if (table.entrySizeTag != 0 && Has(table.address)) {
            high = std::max(high, Value(table.address) + Value(table.size));
        }
    }
    high = std::max(high, Value(DT_STRTAB) + Value(DT_STRSZ));
    uint64_t offset = 0;
    if (low < high && high <= kAddressLimit &&
        layout_->FileOffset({static_cast<ElfAddress>(low), high - low}, &offset)) {
        image_->Prefetch(offset, high - low);
    }
}

// The loader stops the process on a relocation table of another entry
// size, and this check reads the tables it needs to follow the rest.
bool ElfDynamic::CheckEntrySizes() const
{
    for (const SizedTable& table : kSizedTables) {
        if (!Has(table.address) && !Has(table.size)) continue;
        if (!Has(table.address) || !Has(table.size) ||
            (table.entrySizeTag != 0 && Value(table.entrySizeTag) != table.entrySize)) {
            return false;
        }
    }
    if (Has(DT_PLTREL) && Value(DT_PLTREL) != static_cast<uint64_t>(kPltRelocationKind)) return false;
    return Has(DT_STRTAB) && Has(DT_STRSZ) && Has(DT_SYMTAB) && (Has(DT_GNU_HASH) || Has(DT_HASH));
}

bool ElfDynamic::ReadStrings()
{
    // A final terminator ends every string that starts in the table.
    const uint64_t size = Value(DT_STRSZ);
    if (size == 0 || !ReadTable(Value(DT_STRTAB), size, &strings_) || strings_.back() != '\0') return false;
    tables_.push_back({static_cast<ElfAddress>(Value(DT_STRTAB)), size});
    const auto inTable = [size](uint64_t offset) { return offset < size; };
    if (!std::all_of(needed_.begin(), needed_.end(), inTable)) return false;
    return std::all_of(std::begin(kStringTags), std::end(kStringTags),
                       [&](int64_t tag) { return !Has(tag) || inTable(Value(tag)); });
}

bool ElfDynamic::CountSymbols(uint64_t* count)
{
    // The loader prefers the GNU table when there are both.
    return Has(DT_GNU_HASH) ? CountGnuHashSymbols(count) : CountSysvHashSymbols(count);
}

bool ElfDynamic::CountGnuHashSymbols(uint64_t* count)
{
    const uint64_t address = Value(DT_GNU_HASH);
    std::vector<uint32_t> header;
    if (!ReadTable(address, 4, &header)) return false;
    const uint32_t bucketCount = header[0];
    const uint32_t symbolOffset = header[1];
    const uint32_t bloomWords = header[2];
    // The loader divides by the bucket count and masks bloom indexes with
    // the word count less one.
    if (bucketCount == 0 || !IsPowerOfTwo(bloomWords) || header[3] >= 8 * sizeof(ElfAddress)) return false;
    const uint64_t bucketAddress = address + 16 + uint64_t{bloomWords} * sizeof(ElfAddress);
    std::vector<uint32_t> buckets;
    if (!ReadTable(bucketAddress, bucketCount, &buckets)) return false;
    uint32_t highestStart = 0;
    for (uint32_t start : buckets) {
        if (start != 0 && start < symbolOffset) return false;
        highestStart = std::max(highestStart, start);
    }

    // A chain runs to the first entry with its low bit set: the chain that
    // starts last ends last, and every other chain ends on the way to it.
    const uint64_t chainAddress = bucketAddress + uint64_t{bucketCount} * 4;
    uint64_t end = symbolOffset;
    if (highestStart != 0) {
        uint32_t entry = 0;
        for (end = highestStart;; ++end) {
            if (!ReadAt(chainAddress + (end - symbolOffset) * 4, &entry)) return false;
            if ((entry & 1) != 0) break;
        }
        ++end;
    }
    // The bloom words between header and buckets are read from memory too:
    // the whole table lies in one segment's file part.
    const AddressRange table{static_cast<ElfAddress>(address), chainAddress + (end - symbolOffset) * 4 - address};
    uint64_t offset = 0;
    if (!layout_->FileOffset(table, &offset)) return false;
    *count = end;
    tables_.push_back(table);
    return true;
}

bool ElfDynamic::CountSysvHashSymbols(uint64_t* count)
{
    const uint64_t address = Value(DT_HASH);
    std::vector<uint32_t> table;
    if (!ReadTable(address, 2, &table)) return false;
    const uint64_t bucketCount = table[0];
    const uint32_t chainCount = table[1];
    if (bucketCount == 0 || !ReadTable(address, 2 + bucketCount + chainCount, &table)) return false;
    const uint32_t* const chain = table.data() + 2 + bucketCount;
    if (std::any_of(table.begin() + 2, table.end(), [chainCount](uint32_t index) { return index >= chainCount; })) {
        return false;
    }
    // A chain that comes back to itself would keep a lookup going forever.
    // 1 marks the chain being walked, 2 the entries known to end.
    std::vector<uint8_t> state(chainCount, 0);
    for (uint64_t bucket = 0; bucket < bucketCount; ++bucket) {
        const uint32_t start = table[2 + bucket];
        uint32_t index = start;
        while (index != 0 && state[index] == 0) {
            state[index] = 1;
            index = chain[index];
        }
        if (index != 0 && state[index] == 1) return false;
        for (index = start; index != 0 && state[index] == 1; index = chain[index]) state[index] = 2;
    }
    *count = chainCount;
    tables_.push_back({static_cast<ElfAddress>(address), table.size() * 4});
    return true;
}

bool ElfDynamic::ExtendSymbols(uint64_t count)
{
    const uint64_t first = symbols_.size();
    if (count <= first) return true;
    std::vector<ElfW(Sym)> added;
    if (!ReadTable(Value(DT_SYMTAB) + first * sizeof(ElfW(Sym)), count - first, &added)) {
        return Refuse("symbol table outside the file");
    }
    if (!std::all_of(added.begin(), added.end(), [this](const ElfW(Sym)& symbol) { return CheckSymbol(symbol); })) {
        return Refuse("a symbol's name outside the string table, or its resolver outside the code");
    }
    if (Has(DT_VERSYM)) {
        std::vector<ElfW(Half)> versions;
        if (!ReadTable(Value(DT_VERSYM) + first * sizeof(ElfW(Half)), count - first, &versions)) {
            return Refuse("symbol version table outside the file");
        }
        const bool known = std::all_of(versions.begin(), versions.end(), [this](ElfW(Half) version) {
            const uint32_t index = version & kVersionIndexMask;
            return index < versionDefined_.size() && versionDefined_[index];
        });
        if (!known) return Refuse("a symbol's version has no record");
        tables_[versionTable_].size = count * sizeof(ElfW(Half));
    }
    symbols_.insert(symbols_.end(), added.begin(), added.end());
    tables_[symbolTable_].size = count * sizeof(ElfW(Sym));
    return true;
}

// The loader reads every symbol's name while it binds; it only adds the
// module's address to other values, except that an indirect function's
// resolver runs while the module loads.
bool ElfDynamic::CheckSymbol(const ElfW(Sym)& symbol) const
{
    if (symbol.st_name >= strings_.size()) return false;
    if (symbol.st_shndx == SHN_UNDEF || symbol.st_shndx == SHN_ABS) return true;
    return SymbolType(symbol.st_info) != STT_GNU_IFUNC || layout_->InMemory({symbol.st_value, 1}, PF_X);
}

bool ElfDynamic::ReadVersionRecords()
{
    // The loader keeps one record per version index up to the highest one
    // it meets and looks every symbol's index up among them: each index
    // above the two fixed ones (local, global) must have a record.
    versionDefined_.assign(2, true);
    if (Has(DT_VERNEED) && !ReadNeededVersions()) return false;
    if (Has(DT_VERDEF) && !ReadDefinedVersions()) return false;
    // Without any record the loader keeps no table to look indexes up in;
    // with records it takes the symbols' version table as given.
    return Has(DT_VERSYM) == (versionDefined_.size() > 2);
}

void ElfDynamic::MarkDefined(uint32_t index)
{
    index &= kVersionIndexMask;
    if (index >= versionDefined_.size()) versionDefined_.resize(index + 1, false);
    versionDefined_[index] = true;
}

bool ElfDynamic::ReadNeededVersions()
{
    // Each record names a needed module, which the loader insists on
    // finding among the module's dependencies (a record of another version
    // it refuses itself). Records and their entries follow one another:
    // each link must lead forward past its record.
    uint64_t address = Value(DT_VERNEED);
    for (;;) {
        ElfW(Verneed) need;
        if (!ReadAt(address, &need) || need.vn_file >= strings_.size()) return false;
        const char* const file = Text(need.vn_file);
        const bool needed = std::any_of(needed_.begin(), needed_.end(),
                                        [this, file](uint64_t offset) { return std::strcmp(Text(offset), file) == 0; });
        if (!needed) return false;
        uint64_t auxAddress = address + need.vn_aux;
        for (;;) {
            ElfW(Vernaux) aux;
            if (!ReadAt(auxAddress, &aux) || aux.vna_name >= strings_.size()) return false;
            MarkDefined(aux.vna_other);
            if (aux.vna_next == 0) break;
            if (aux.vna_next < sizeof aux) return false;
            auxAddress += aux.vna_next;
        }
        tables_.push_back({static_cast<ElfAddress>(address), auxAddress + sizeof(ElfW(Vernaux)) - address});
        if (need.vn_next == 0) return true;
        if (need.vn_next < sizeof need) return false;
        address += need.vn_next;
    }
}

bool ElfDynamic::ReadDefinedVersions()
{
    uint64_t address = Value(DT_VERDEF);
    for (;;) {
        ElfW(Verdef) definition;
        ElfW(Verdaux) name;
        if (!ReadAt(address, &definition) || definition.vd_version != 1) return false;
        if (!ReadAt(address + definition.vd_aux, &name) || name.vda_name >= strings_.size()) return false;
        // The base record names the module, not a version.
        if ((definition.vd_flags & VER_FLG_BASE) == 0) MarkDefined(definition.vd_ndx);
        tables_.push_back({static_cast<ElfAddress>(address), definition.vd_aux + sizeof name});
        if (definition.vd_next == 0) return true;
        if (definition.vd_next < sizeof definition) return false;
        address += definition.vd_next;
    }
}

}  // namespace Platform
}  // namespace Orvik
