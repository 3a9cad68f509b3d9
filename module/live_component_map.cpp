#include "module/live_component_map.h"

#include <new>

namespace Orvik {

namespace {
constexpr size_t kInitialSlots = 16;
}  // namespace

size_t LiveComponentMap::Home(const void* key) const
{
    // Fibonacci hashing: the high bits of the product spread addresses that
    // differ only in their low bits.
    const uint64_t product = static_cast<uint64_t>(Address(key)) * 0x9E3779B97F4A7C15ull;
    return static_cast<size_t>(product >> 32) & (slots_.size() - 1);
}

size_t LiveComponentMap::FindSlot(const void* key) const
{
    if (size_ == 0) return kNone;
    const size_t mask = slots_.size() - 1;
    for (size_t i = Home(key);; i = (i + 1) & mask) {
        if (slots_[i].pointer == nullptr) return kNone;
        if (slots_[i].pointer == key) return i;
    }
}

void LiveComponentMap::MakeFirstTable()
{
    if (slots_.empty()) Grow();
}

void LiveComponentMap::Insert(const ComponentInstanceInfo& info)
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

bool LiveComponentMap::Erase(const void* component)
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

void LiveComponentMap::Grow()
{
    std::vector<ComponentInstanceInfo> old(slots_.empty() ? kInitialSlots : 2 * slots_.size());
    old.swap(slots_);
    const size_t mask = slots_.size() - 1;
    for (const ComponentInstanceInfo& slot : old) {
        if (slot.pointer == nullptr) continue;
        size_t i = Home(slot.pointer);
        while (slots_[i].pointer != nullptr) i = (i + 1) & mask;
        slots_[i] = slot;
    }
}

}  // namespace Orvik
