#pragma once
// The module's live components by address. Open addressing with linear
// probing and backward-shift removal: making and releasing a component
// allocates nothing once the table has grown to the module's peak. Internal
// to the module runtime: one map per shard of the live components, used
// under the shard's lock.

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "orvik/module/component.h"

namespace Orvik {

struct ComponentInstanceInfo {
    int32_t componentId;  // the id asked for
    CreatorId creatorId;
    IComponent* pointer;  // the key; null marks a free slot
};

class LiveComponentMap {
public:
    bool empty() const { return size_ == 0; }
    size_t size() const { return size_; }

    // Makes the first table, so that an insert needs memory only to grow.
    // May throw std::bad_alloc; the map is unchanged then.
    void MakeFirstTable();
    // Adds the component, or replaces its entry. A table that cannot grow
    // takes the entry while it keeps a free slot besides; only a full one
    // throws std::bad_alloc, leaving the map unchanged.
    void Insert(const ComponentInstanceInfo& info);
    // False when the address is not listed.
    bool Erase(const void* component);
    bool Contains(const void* component) const { return FindSlot(component) != kNone; }

    // The entry with the lowest address above `after` (any address when
    // fromStart) for whose component pick holds; null when none. Needs no
    // memory, so a walk in address order (one step after the other) cannot
    // fail, not even the leak report at a module's end.
    template <class Predicate>
    const ComponentInstanceInfo* LowestAbove(const void* after, bool fromStart, Predicate pick) const
    {
        const ComponentInstanceInfo* lowest = nullptr;
        for (const ComponentInstanceInfo& slot : slots_) {
            if (slot.pointer == nullptr || (!fromStart && Address(slot.pointer) <= Address(after))) continue;
            if (lowest != nullptr && Address(slot.pointer) >= Address(lowest->pointer)) continue;
            if (pick(slot.pointer)) lowest = &slot;
        }
        return lowest;
    }

private:
    static constexpr size_t kNone = ~size_t{0};
    static uintptr_t Address(const void* pointer) { return reinterpret_cast<uintptr_t>(pointer); }
    size_t Home(const void* key) const;
    size_t FindSlot(const void* key) const;
    void Grow();

    std::vector<ComponentInstanceInfo> slots_;
    size_t size_ = 0;
};

// The lookups, Insert and Erase are defined here, so that the creation and
// release of every component take them inline.

inline size_t LiveComponentMap::Home(const void* key) const
{
    // Fibonacci hashing: the high bits of the product spread addresses that
    // differ only in their low bits.
    const uint64_t product = static_cast<uint64_t>(Address(key)) * 0x9E3779B97F4A7C15ull;
    return static_cast<size_t>(product >> 32) & (slots_.size() - 1);
}

inline size_t LiveComponentMap::FindSlot(const void* key) const
{
    if (size_ == 0) return kNone;
    const size_t mask = slots_.size() - 1;
    for (size_t i = Home(key);; i = (i + 1) & mask) {
        if (slots_[i].pointer == nullptr) return kNone;
        if (slots_[i].pointer == key) return i;
    }
}

inline void LiveComponentMap::Insert(const ComponentInstanceInfo& info)
{
    const size_t found = FindSlot(info.pointer);
    if (found != kNone) {
        slots_[found] = info;
        return;
    }
    // At most half full keeps the runs of probes short; a table that cannot
    // grow still ends every run at a free slot.
    if (2 * (size_ + 1) > slots_.size()) {
        try {
            Grow();
        } catch (const std::bad_alloc&) {
            if (size_ + 1 >= slots_.size()) throw;
        }
    }
    const size_t mask = slots_.size() - 1;
    size_t i = Home(info.pointer);
    while (slots_[i].pointer != nullptr) i = (i + 1) & mask;
    slots_[i] = info;
    ++size_;
}

inline bool LiveComponentMap::Erase(const void* component)
{
    size_t hole = FindSlot(component);
    if (hole == kNone) return false;
    // Entries after the hole that may not sit before their home move back
    // into it, so that no run of probes is cut short.
    const size_t mask = slots_.size() - 1;
    for (size_t next = (hole + 1) & mask; slots_[next].pointer != nullptr; next = (next + 1) & mask) {
        const size_t home = Home(slots_[next].pointer);
        const bool movable = hole <= next ? (home <= hole || home > next) : (home <= hole && home > next);
        if (!movable) continue;
        slots_[hole] = slots_[next];
        hole = next;
    }
    slots_[hole] = ComponentInstanceInfo{};
    --size_;
    return true;
}

}  // namespace Orvik
