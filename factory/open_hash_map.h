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

    // Adds the entry, or replaces the value of the key's entry.
    void Set(Key key, Value value)
    {
        if (Value* found = Find(key)) {
            *found = value;
            return;
        }
        // At most half full keeps the runs of probes short.
        if (2 * (size_ + 1) > slots_.size()) Rehash(slots_.empty() ? kInitialSlots : 2 * slots_.size());
        Place(key, value);
        ++size_;
    }

    // Removes every entry for which erase(key, value) holds.
    template <class Predicate>
    void EraseIf(Predicate erase)
    {
        std::vector<Slot> old(slots_.size());
        old.swap(slots_);
        size_ = 0;
        for (const Slot& slot : old) {
            if (!slot.used || erase(slot.key, slot.value)) continue;
            Place(slot.key, slot.value);
            ++size_;
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
