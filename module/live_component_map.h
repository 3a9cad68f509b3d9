#pragma once
// The module's live components by address. Open addressing with linear
// probing and backward-shift removal: making and releasing a component
// allocates nothing once the table has grown to the module's peak. Internal
// to the module runtime; used under the module's live-map lock.

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

    // Room for a component about to be made: while one is reserved, the
    // Insert of a new component needs no memory. Reserving may throw
    // std::bad_alloc; the map is unchanged then. Every Reserve is followed
    // by one Unreserve, after the Insert it was for, if any.
    void Reserve();
    void Unreserve() { --reserved_; }
    // A creation holds room: the module is in use.
    bool HasReservations() const { return reserved_ != 0; }
    // Adds the component, or replaces its entry. Growing may throw
    // std::bad_alloc; the map is unchanged then.
    void Insert(const ComponentInstanceInfo& info);
    // False when the address is not listed.
    bool Erase(const void* component);
    bool Contains(const void* component) const { return FindSlot(component) != kNone; }

    // Hands each entry to visit in the order of their addresses. It needs no
    // memory (each step looks for the next address), so the leak report at
    // a module's end cannot fail.
    template <class Visit>
    void VisitInAddressOrder(Visit visit) const
    {
        const ComponentInstanceInfo* last = nullptr;
        for (;;) {
            const ComponentInstanceInfo* next = nullptr;
            for (const ComponentInstanceInfo& slot : slots_) {
                if (slot.pointer == nullptr || (last != nullptr && Address(slot.pointer) <= Address(last->pointer))) {
                    continue;
                }
                if (next == nullptr || Address(slot.pointer) < Address(next->pointer)) next = &slot;
            }
            if (next == nullptr) return;
            visit(*next);
            last = next;
        }
    }
    // The listed component with the lowest address above `after` (any
    // address when fromStart) for which pick holds; null when none.
    template <class Predicate>
    IComponent* LowestAbove(const void* after, bool fromStart, Predicate pick) const
    {
        IComponent* lowest = nullptr;
        for (const ComponentInstanceInfo& slot : slots_) {
            if (slot.pointer == nullptr || (!fromStart && Address(slot.pointer) <= Address(after))) continue;
            if (lowest != nullptr && Address(slot.pointer) >= Address(lowest)) continue;
            if (pick(slot.pointer)) lowest = slot.pointer;
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
    size_t reserved_ = 0;
};

}  // namespace Orvik
