#pragma once
// A small hash map from integer or pointer keys, for lookups made on every
// request: open addressing with linear probing in a power-of-two table, so
// a lookup costs one multiplication and, nearly always, one probe, however
// many entries there are.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Orvik {

template <class Key, class Value>
class TOpenHashMap {
public:
    Value* Find(Key key)
    {
        if (size_ == 0) return nullptr;
        for (size_t i = Home(key);; i = (i + 1) & mask_) {
            Slot& slot = slots_[i];
            if (!slot.used) return nullptr;
            if (slot.key == key) return &slot.value;
        }
    }

    // Makes room for one more entry, so that the next Set cannot fail. May
    // throw std::bad_alloc, leaving the map as it was.
    void ReserveOneMore()
    {
        // At most half full keeps the runs of probes short.
        if (2 * (size_ + 1) > slots_.size()) Rehash(slots_.empty() ? kInitialSlots : 2 * slots_.size());
    }

    // Adds the entry, or replaces the value of the key's entry.
    void Set(Key key, Value value)
    {
        if (Value* found = Find(key)) {
            *found = value;
            return;
        }
        ReserveOneMore();
        Place(key, value);
        ++size_;
    }

    // Removes every entry for which erase(key, value) holds, in place: it
    // needs no memory.
    template <class Predicate>
    void EraseIf(Predicate erase)
    {
        for (size_t i = 0; i < slots_.size();) {
            if (slots_[i].used && erase(slots_[i].key, slots_[i].value)) {
                // The entry moved into its place is judged in its turn.
                EraseAt(i);
            } else {
                ++i;
            }
        }
    }

private:
    struct Slot {
        Key key{};
        Value value{};
        bool used = false;
    };
    static constexpr size_t kInitialSlots = 16;

    // Fibonacci hashing: the high bits of the product spread near keys.
    size_t Home(Key key) const
    {
        const uint64_t bits = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(AsPointer(key)));
        return static_cast<size_t>((bits * 0x9E3779B97F4A7C15ull) >> shift_) & mask_;
    }
    template <class K>
    static const void* AsPointer(K* key) { return key; }
    template <class K>
    static const void* AsPointer(K key) { return reinterpret_cast<const void*>(static_cast<uintptr_t>(key)); }

    void Place(Key key, Value value)
    {
        size_t i = Home(key);
        while (slots_[i].used) i = (i + 1) & mask_;
        slots_[i] = Slot{key, value, true};
    }

    // Empties slot i and moves back the entries after it that their home
    // does not hold in place, so that no probe run is broken.
    void EraseAt(size_t i)
    {
        slots_[i].used = false;
        --size_;
        for (size_t j = (i + 1) & mask_; slots_[j].used; j = (j + 1) & mask_) {
            const size_t home = Home(slots_[j].key);
            // The entry at j may stay when its home lies cyclically in (i, j].
            const bool staysPut = i <= j ? (i < home && home <= j) : (i < home || home <= j);
            if (staysPut) continue;
            slots_[i] = slots_[j];
            slots_[j].used = false;
            i = j;
        }
    }

    void Rehash(size_t slotCount)
    {
        std::vector<Slot> old(slotCount);
        old.swap(slots_);
        mask_ = slotCount - 1;
        shift_ = 64;
        for (size_t n = slotCount; n > 1; n >>= 1) --shift_;
        for (const Slot& slot : old) {
            if (slot.used) Place(slot.key, slot.value);
        }
    }

    std::vector<Slot> slots_;
    size_t size_ = 0;
    size_t mask_ = 0;
    unsigned shift_ = 64;
};

}  // namespace Orvik
