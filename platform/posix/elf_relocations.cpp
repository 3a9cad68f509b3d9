#include "platform/posix/elf_relocations.h"

#include <algorithm>
#include <type_traits>
#include <vector>

namespace Orvik {
namespace Platform {

namespace {

constexpr uint64_t kWord = sizeof(ElfAddress);

// What the loader does with a relocation type.
enum class Kind {
    Unknown,   // refused: the loader would fail on it or copy blindly
    Relative,  // the load address plus the addend
    Indirect,  // calls the function at the load address plus the addend
    Address,   // a symbol's address plus the addend
    Other,     // another value derived from a symbol
};

struct Effect {
    Kind kind;
    uint64_t width;  // bytes written at the target
};

#if defined(__x86_64__)
Effect EffectOf(uint32_t type)
{
    switch (type) {
    case R_X86_64_NONE:
        return {Kind::Other, 0};
    case R_X86_64_RELATIVE:
        return {Kind::Relative, 8};
    case R_X86_64_IRELATIVE:
        return {Kind::Indirect, 8};
    case R_X86_64_64:
    case R_X86_64_GLOB_DAT:
    case R_X86_64_JUMP_SLOT:
        return {Kind::Address, 8};
    case R_X86_64_DTPMOD64:
    case R_X86_64_DTPOFF64:
    case R_X86_64_TPOFF64:
    case R_X86_64_SIZE64:
        return {Kind::Other, 8};
    case R_X86_64_PC32:
    case R_X86_64_32:
    case R_X86_64_SIZE32:
        return {Kind::Other, 4};
    case R_X86_64_TLSDESC:
        return {Kind::Other, 16};
    default:
        // R_X86_64_COPY among them: it copies as many bytes as a symbol
        // claims to have.
        return {Kind::Unknown, 0};
    }
}
constexpr uint32_t kRelativeType = R_X86_64_RELATIVE;
constexpr bool kRelativeTypeKnown = true;
#else
// Elsewhere every type is taken to write a symbol's address.
Effect EffectOf(uint32_t) { return {Kind::Address, kWord}; }
constexpr uint32_t kRelativeType = 0;
constexpr bool kRelativeTypeKnown = false;
#endif

bool Overlaps(AddressRange a, AddressRange b)
{
    return a.start < b.start + b.size && b.start < a.start + a.size;
}

// The slots of an initialiser or finaliser array. The loader calls each
// slot's value as a function, so each must end up holding module code.
struct CallSlots {
    AddressRange range;
    std::vector<bool> code;
};

// The memory of the loadable segments that have all of some flags, each as
// its start and end: asked for every relocation, so worked out once.
class SegmentMemory {
public:
    SegmentMemory(const ElfLayout& layout, uint32_t flags)
    {
        for (const ElfW(Phdr)& load : layout.loads()) {
            // The layout keeps every segment's end within the address space.
            if ((load.p_flags & flags) == flags) ranges_.push_back({load.p_vaddr, load.p_vaddr + load.p_memsz});
        }
    }

    // As ElfLayout::InMemory: a range of size 0 may end a segment.
    bool Holds(uint64_t start, uint64_t size) const
    {
        for (const Range& range : ranges_) {
            if (start >= range.start && start <= range.end && size <= range.end - start) return true;
        }
        return false;
    }

private:
    struct Range {
        uint64_t start;
        uint64_t end;
    };
    std::vector<Range> ranges_;
};

// Where the entries of a relocation table lie in the file.
struct EntryTable {
    uint64_t offset = 0;
    uint64_t count = 0;
};

// Entries are read this many at a time, into the stack: a table is read
// twice (for the symbols it names, then to apply it), and a copy of it on
// the heap would be fresh memory for each file.
constexpr uint64_t kEntriesAtOnce = 128;

// One relocation as the loader applies it.
struct Relocation {
    uint64_t target;
    Effect effect;
    uint64_t symbol;
    uint64_t addend;
};

class RelocationCheck {
public:
    RelocationCheck(const ElfImage& image, const ElfLayout& layout, ElfDynamic& dynamic)
        : image_(image),
          layout_(layout),
          dynamic_(dynamic),
          // Text relocations make the loader open read-only segments for
          // writing.
          targetFlags_(dynamic.Has(DT_TEXTREL) || (dynamic.Value(DT_FLAGS) & DF_TEXTREL) != 0 ? 0 : PF_W),
          writable_(layout, targetFlags_),
          code_(layout, PF_X)
    {
    }

    bool Run();
    const char* refusal() const { return refusal_; }

private:
    bool ReadCallSlots(int64_t arrayTag, int64_t sizeTag);
    template <class Entry>
    bool ReadTable(int64_t addressTag, int64_t sizeTag, std::vector<Entry>* entries) const;
    bool ApplyPackedTable();
    template <class Entry>
    bool FindTable(int64_t addressTag, int64_t sizeTag, EntryTable* table);
    template <class Entry, class Visit>
    bool ForEachEntry(const EntryTable& table, Visit visit);
    template <class Entry>
    bool CountSymbols(const EntryTable& table, uint64_t relativeCount, uint64_t* symbolCount);
    template <class Entry>
    bool ApplySymbolTable(const EntryTable& table, uint64_t relativeCount);
    void FindExposedTables();
    bool Apply(const Relocation& relocation);
    bool CheckTarget(AddressRange target);
    void NoteCallSlots(AddressRange written, bool code);
    bool IsCode(uint64_t address) const { return address <= ~ElfAddress{0} && code_.Holds(address, 1); }
    uint64_t FileWord(uint64_t address) const;
    bool Refuse(const char* reason)
    {
        refusal_ = reason;
        return false;
    }

    const ElfImage& image_;
    const ElfLayout& layout_;
    ElfDynamic& dynamic_;
    // What a segment must allow for a relocation to write into it; asked
    // once, not for each relocation.
    const uint32_t targetFlags_;
    const SegmentMemory writable_;
    const SegmentMemory code_;
    std::vector<CallSlots> callSlots_;
    // The loader's tables that reach into a segment relocations may write:
    // no other can be written over.
    std::vector<AddressRange> exposedTables_;
    const char* refusal_ = nullptr;
};

bool RelocationCheck::Run()
{
    for (int64_t function : {DT_INIT, DT_FINI}) {
        if (dynamic_.Has(function) && !IsCode(dynamic_.Value(function))) {
            return Refuse("an initialiser or finaliser outside the module's code");
        }
    }
    if (!ReadCallSlots(DT_INIT_ARRAY, DT_INIT_ARRAYSZ) || !ReadCallSlots(DT_FINI_ARRAY, DT_FINI_ARRAYSZ)) {
        return Refuse("an initialiser or finaliser array outside the module");
    }
    using Entry = std::conditional_t<kRelocationsHaveAddends, ElfW(Rela), ElfW(Rel)>;
    const int64_t table = kRelocationsHaveAddends ? DT_RELA : DT_REL;
    const int64_t tableSize = kRelocationsHaveAddends ? DT_RELASZ : DT_RELSZ;
    const int64_t relativeCount = kRelocationsHaveAddends ? DT_RELACOUNT : DT_RELCOUNT;
    // In the loader's order: the packed relative ones first, then those of
    // the table, then those of the procedure linkage table's.
    FindExposedTables();
    if (!ApplyPackedTable()) return false;
    const uint64_t relatives = dynamic_.Value(relativeCount);
    EntryTable entries;
    EntryTable linkageEntries;
    uint64_t symbolCount = 0;
    if (!FindTable<Entry>(table, tableSize, &entries) || !CountSymbols<Entry>(entries, relatives, &symbolCount) ||
        !FindTable<Entry>(DT_JMPREL, DT_PLTRELSZ, &linkageEntries) ||
        !CountSymbols<Entry>(linkageEntries, 0, &symbolCount)) {
        return false;
    }
    if (!dynamic_.ExtendSymbols(symbolCount)) return Refuse(dynamic_.refusal());
    FindExposedTables();  // the symbol tables may have grown
    if (!ApplySymbolTable<Entry>(entries, relatives) || !ApplySymbolTable<Entry>(linkageEntries, 0)) return false;
    for (const CallSlots& slots : callSlots_) {
        if (std::find(slots.code.begin(), slots.code.end(), false) != slots.code.end()) {
            return Refuse("an initialiser or finaliser slot that does not hold module code");
        }
    }
    return true;
}

bool RelocationCheck::ReadCallSlots(int64_t arrayTag, int64_t sizeTag)
{
    if (!dynamic_.Has(arrayTag)) return true;
    const uint64_t start = dynamic_.Value(arrayTag);
    const uint64_t size = dynamic_.Value(sizeTag);
    if (start > ~ElfAddress{0} || size % kWord != 0 || size > image_.size()) return false;
    const AddressRange range{static_cast<ElfAddress>(start), size};
    if (!layout_.InMemory(range, 0)) return false;
    callSlots_.push_back({range, std::vector<bool>(size / kWord, false)});
    return true;
}

uint64_t RelocationCheck::FileWord(uint64_t address) const
{
    uint64_t offset = 0;
    ElfAddress word = 0;
    if (address > ~ElfAddress{0} || !layout_.FileOffset({static_cast<ElfAddress>(address), kWord}, &offset) ||
        !image_.ReadObject(offset, &word)) {
        return 0;  // memory the loader zeroes
    }
    return word;
}

template <class Entry>
bool RelocationCheck::ReadTable(int64_t addressTag, int64_t sizeTag, std::vector<Entry>* entries) const
{
    uint64_t offset = 0;
    const uint64_t address = dynamic_.Value(addressTag);
    const uint64_t size = dynamic_.Value(sizeTag);
    return address <= ~ElfAddress{0} && size % sizeof(Entry) == 0 && size <= image_.size() &&
           layout_.FileOffset({static_cast<ElfAddress>(address), size}, &offset) &&
           image_.ReadArray(offset, size / sizeof(Entry), entries);
}

bool RelocationCheck::ApplyPackedTable()
{
    std::vector<ElfW(Relr)> entries;
    if (!dynamic_.Has(DT_RELR)) return true;
    if (!ReadTable(DT_RELR, DT_RELRSZ, &entries)) return Refuse("a relocation table outside the file");
    // An even entry is an address to relocate; an odd one a bitmap of the
    // words that follow it, which needs an address before it.
    const Effect relative{Kind::Relative, kWord};
    uint64_t where = 0;
    bool started = false;
    for (ElfW(Relr) entry : entries) {
        if ((entry & 1) == 0) {
            where = entry;
            started = true;
            if (!Apply({where, relative, 0, FileWord(where)})) return false;
            where += kWord;
            continue;
        }
        if (!started) return Refuse("packed relocations without a first address");
        for (uint64_t bit = 0; (entry >>= 1) != 0; ++bit) {
            const uint64_t target = where + bit * kWord;
            if ((entry & 1) != 0 && !Apply({target, relative, 0, FileWord(target)})) return false;
        }
        where += (8 * kWord - 1) * kWord;
    }
    return true;
}

// A table of the dynamic section, which has none when it has no address.
template <class Entry>
bool RelocationCheck::FindTable(int64_t addressTag, int64_t sizeTag, EntryTable* table)
{
    *table = {};
    if (!dynamic_.Has(addressTag)) return true;
    const uint64_t address = dynamic_.Value(addressTag);
    const uint64_t size = dynamic_.Value(sizeTag);
    if (address > ~ElfAddress{0} || size % sizeof(Entry) != 0 || size > image_.size() ||
        !layout_.FileOffset({static_cast<ElfAddress>(address), size}, &table->offset)) {
        return Refuse("a relocation table outside the file");
    }
    table->count = size / sizeof(Entry);
    return true;
}

// visit(index, entry) for each entry, until it says false.
template <class Entry, class Visit>
bool RelocationCheck::ForEachEntry(const EntryTable& table, Visit visit)
{
    Entry entries[kEntriesAtOnce];
    for (uint64_t first = 0; first < table.count; first += kEntriesAtOnce) {
        const uint64_t count = std::min(kEntriesAtOnce, table.count - first);
        if (!image_.Read(table.offset + first * sizeof(Entry), entries, count * sizeof(Entry))) {
            return Refuse("a relocation table outside the file");
        }
        for (uint64_t i = 0; i < count; ++i) {
            if (!visit(first + i, entries[i])) return false;
        }
    }
    return true;
}

// The symbols the entries name, counted in.
template <class Entry>
bool RelocationCheck::CountSymbols(const EntryTable& table, uint64_t relativeCount, uint64_t* symbolCount)
{
    // The loader applies the first entries of the count it is given as
    // relative ones, and stops the process on one of another type.
    return ForEachEntry<Entry>(table, [&](uint64_t index, const Entry& entry) {
        if (index >= relativeCount) {
            *symbolCount = std::max(*symbolCount, RelocationSymbol(entry.r_info) + 1);
        } else if (kRelativeTypeKnown && RelocationType(entry.r_info) != kRelativeType) {
            return Refuse("a relocation counted as relative is of another type");
        }
        return true;
    });
}

template <class Entry>
bool RelocationCheck::ApplySymbolTable(const EntryTable& table, uint64_t relativeCount)
{
    return ForEachEntry<Entry>(table, [&](uint64_t index, const Entry& entry) {
        const bool relative = index < relativeCount;
        uint64_t addend = 0;
        if constexpr (std::is_same_v<Entry, ElfW(Rela)>) {
            addend = static_cast<uint64_t>(entry.r_addend);
        } else {
            addend = FileWord(entry.r_offset);
        }
        return Apply({entry.r_offset, EffectOf(relative ? kRelativeType : RelocationType(entry.r_info)),
                      relative ? 0 : RelocationSymbol(entry.r_info), addend});
    });
}

void RelocationCheck::FindExposedTables()
{
    exposedTables_.clear();
    for (const AddressRange& table : dynamic_.tables()) {
        for (const ElfW(Phdr)& load : layout_.loads()) {
            if ((load.p_flags & targetFlags_) == targetFlags_ && Overlaps(table, {load.p_vaddr, load.p_memsz})) {
                exposedTables_.push_back(table);
                break;
            }
        }
    }
}

bool RelocationCheck::Apply(const Relocation& relocation)
{
    const Effect effect = relocation.effect;
    if (effect.kind == Kind::Unknown) return Refuse("a relocation of a type the loader would apply blindly");
    if (relocation.target > ~ElfAddress{0}) return Refuse("a relocation writes outside its segment");
    const AddressRange written{static_cast<ElfAddress>(relocation.target), effect.width};
    if (!CheckTarget(written)) return false;
    bool code = false;
    switch (effect.kind) {
    case Kind::Relative:
        code = IsCode(relocation.addend);
        break;
    case Kind::Indirect:
        if (!IsCode(relocation.addend)) return Refuse("an indirect function's resolver outside the module's code");
        code = true;  // whatever the resolver returns
        break;
    case Kind::Address: {
        // A symbol of another module is resolved there; one of this module
        // must be its code.
        const ElfW(Sym)& symbol = dynamic_.symbols()[relocation.symbol];
        code = relocation.symbol != 0 &&
               (symbol.st_shndx == SHN_UNDEF || IsCode(uint64_t{symbol.st_value} + relocation.addend));
        break;
    }
    case Kind::Other:
    case Kind::Unknown:
        break;
    }
    NoteCallSlots(written, code && effect.width == kWord);
    return true;
}

bool RelocationCheck::CheckTarget(AddressRange target)
{
    if (target.size == 0) return true;
    if (!writable_.Holds(target.start, target.size)) return Refuse("a relocation writes outside its segment");
    for (const AddressRange& table : exposedTables_) {
        if (Overlaps(target, table)) return Refuse("a relocation writes over a table the loader reads");
    }
    return true;
}

void RelocationCheck::NoteCallSlots(AddressRange written, bool code)
{
    if (written.size == 0) return;
    for (CallSlots& slots : callSlots_) {
        if (slots.code.empty() || !Overlaps(written, slots.range)) continue;
        const uint64_t start = slots.range.start;
        const uint64_t first = written.start > start ? (written.start - start) / kWord : 0;
        const uint64_t last =
            std::min<uint64_t>((written.start + written.size - 1 - start) / kWord, slots.code.size() - 1);
        // Only a whole word written into one slot holds an address.
        for (uint64_t slot = first; slot <= last; ++slot) {
            slots.code[slot] = code && written.start == start + slot * kWord;
        }
    }
}

}  // namespace

bool CheckRelocations(const ElfImage& image, const ElfLayout& layout, ElfDynamic& dynamic, const char** refusal)
{
    RelocationCheck check(image, layout, dynamic);
    if (check.Run()) return true;
    *refusal = check.refusal();
    return false;
}

}  // namespace Platform
}  // namespace Orvik
