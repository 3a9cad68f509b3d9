#pragma once
// The module's live components by address. Open addressing with linear
// probing and backward-shift removal: making and releasing a component
// allocates nothing once the table has grown to the module's peak. Internal
// to the module runtime: one map per shard of the live components, used
// under the shard's lock.

#include <cstddef>
#include <cstdint>
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

}  // namespace Orvik
