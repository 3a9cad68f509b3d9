#include "module/live_component_map.h"


namespace Orvik {

namespace {
constexpr size_t kInitialSlots = 16;
}  // namespace

void LiveComponentMap::MakeFirstTable()
{
    if (slots_.empty()) Grow();
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
