#include "catalog/ready_creations.h"

#include <new>

namespace Orvik {

// Every access to an entry's atomics is sequentially consistent: a reader's
// count in callers and its read of module, and a writer's withdrawal and
// its read of callers, must fall in one order. On the reader's side these
// are plain loads but for the two counts.
bool ReadyCreations::TryCreate(ComponentId componentId, IComponent** component)
{
    Entry* entry = index_.Find(componentId);
    if (entry == nullptr) return false;
    entry->callers.fetch_add(1);
    const uint32_t before = entry->version.load();
    const Platform::ModuleHandle module = entry->module.load();
    const CreateFunction createComponent = entry->createComponent.load();
    const bool ready = (before & 1) == 0 && entry->version.load() == before && module != nullptr &&
                       createComponent != nullptr;
    if (ready) {
        // The catalog asks on the factory's behalf; a module built otherwise
        // may let an exception out of its export: it counts as a null result.
        *component = nullptr;
        try {
            *component = createComponent(static_cast<int32_t>(componentId), kFactoryComponentId);
        } catch (...) {
        }
    }
    entry->callers.fetch_sub(1);
    return ready;
}

void ReadyCreations::Write(Entry& entry, Platform::ModuleHandle module, CreateFunction createComponent)
{
    const uint32_t version = entry.version.load();
    entry.version.store(version + 1);
    entry.module.store(module);
    entry.createComponent.store(createComponent);
    entry.version.store(version + 2);
    if (module != nullptr) entry.lastModule = module;
}

void ReadyCreations::Publish(ComponentId componentId, Platform::ModuleHandle module, CreateFunction createComponent)
{
    if (module == nullptr || createComponent == nullptr) return;
    Entry* entry = index_.Find(componentId);
    if (entry == nullptr) {
        try {
            index_.ReserveOneMore();
            entries_.emplace_back();
        } catch (const std::bad_alloc&) {
            return;
        }
        entry = &entries_.back();
        index_.Set(componentId, entry);
    }
    const Platform::ModuleHandle held = entry->module.load();
    if (held == module && entry->createComponent.load() == createComponent) return;
    // Withdrawn first, and taken up again only by a later request that finds
    // nobody counted in it.
    if (held != nullptr) {
        Write(*entry, nullptr, nullptr);
        return;
    }
    if (entry->lastModule != module && entry->callers.load() != 0) return;
    Write(*entry, module, createComponent);
}

void ReadyCreations::Withdraw(ComponentId componentId)
{
    Entry* entry = index_.Find(componentId);
    if (entry != nullptr && entry->module.load() != nullptr) Write(*entry, nullptr, nullptr);
}

void ReadyCreations::WithdrawModule(Platform::ModuleHandle module)
{
    for (Entry& entry : entries_) {
        if (entry.module.load() == module) Write(entry, nullptr, nullptr);
    }
}

bool ReadyCreations::CreatingThrough(Platform::ModuleHandle module) const
{
    for (const Entry& entry : entries_) {
        if (entry.lastModule == module && entry.callers.load() != 0) return true;
    }
    return false;
}

}  // namespace Orvik
