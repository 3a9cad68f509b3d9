#include "catalog/ready_creations.h"

#include <new>

namespace Orvik {

// Every access to an entry's or a place's atomics is sequentially
// consistent: a reader's naming of the module and its second look at the
// version, and a withdrawal and the look at the places after it, must fall
// in one order. On the reader's side only taking the place is a
// read-modify-write.
bool ReadyCreations::TryCreate(ComponentId componentId, IComponent** component, SectionLookup sectionLookup)
{
    Entry* entry = index_.Find(componentId);
    if (entry == nullptr) return false;
    const uint32_t version = entry->version.load();
    const Platform::ModuleHandle module = entry->module.load();
    CreateFunction createComponent = entry->createComponent.load();
    const char* const sectionPath = entry->sectionPath.load();
    if ((version & 1) != 0 || module == nullptr || (createComponent == nullptr && sectionPath == nullptr)) {
        return false;
    }
    Place* place = TakePlace(module);
    if (place == nullptr) return false;
    if (entry->version.load() != version) {
        place->module.store(nullptr);
        return false;
    }
    // A section's module is held by the place while it is asked.
    if (createComponent == nullptr) createComponent = sectionLookup(module, sectionPath);
    if (createComponent == nullptr) {
        place->module.store(nullptr);
        return false;
    }
    // The catalog asks on the factory's behalf; a module built otherwise may
    // let an exception out of its export: it counts as a null result.
    *component = nullptr;
    try {
        *component = createComponent(static_cast<int32_t>(componentId), kFactoryComponentId);
    } catch (...) {
    }
    place->module.store(nullptr, std::memory_order_release);
    return true;
}

ReadyCreations::Place* ReadyCreations::TakePlace(Platform::ModuleHandle module)
{
    // Threads' stacks lie far apart: the 64 KB block of a local variable
    // tells threads apart, and the same thread finds the same place.
    const char local = 0;
    const uint64_t block = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(&local) >> 16);
    const size_t home = static_cast<size_t>((block * 0x9E3779B97F4A7C15ull) >> 58);
    for (size_t i = 0; i < kPlacesTried; ++i) {
        Place& place = places_[(home + i) % kPlaces];
        Platform::ModuleHandle free = nullptr;
        if (place.module.load(std::memory_order_relaxed) == nullptr && place.module.compare_exchange_strong(free, module)) {
            return &place;
        }
    }
    return nullptr;
}

void ReadyCreations::Write(Entry& entry, Platform::ModuleHandle module, CreateFunction createComponent,
                           const char* sectionPath)
{
    if (entry.module.load() == module && entry.createComponent.load() == createComponent &&
        entry.sectionPath.load() == sectionPath) {
        return;
    }
    const uint32_t version = entry.version.load();
    entry.version.store(version + 1);
    entry.module.store(module);
    entry.createComponent.store(createComponent);
    entry.sectionPath.store(sectionPath);
    entry.version.store(version + 2);
}

ReadyCreations::Entry* ReadyCreations::EntryOf(ComponentId componentId)
{
    if (Entry* entry = index_.Find(componentId)) return entry;
    try {
        index_.ReserveOneMore();
        entries_.emplace_back();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    index_.Set(componentId, &entries_.back());
    return &entries_.back();
}

void ReadyCreations::Publish(ComponentId componentId, Platform::ModuleHandle module, CreateFunction createComponent)
{
    if (module == nullptr || createComponent == nullptr) return;
    if (Entry* entry = EntryOf(componentId)) Write(*entry, module, createComponent, nullptr);
}

void ReadyCreations::PublishSection(ComponentId componentId, Platform::ModuleHandle module, const char* registryPath)
{
    if (module == nullptr || registryPath == nullptr) return;
    if (Entry* entry = EntryOf(componentId)) Write(*entry, module, nullptr, registryPath);
}

void ReadyCreations::Withdraw(ComponentId componentId)
{
    Entry* entry = index_.Find(componentId);
    if (entry != nullptr) Write(*entry, nullptr, nullptr, nullptr);
}

void ReadyCreations::WithdrawModule(Platform::ModuleHandle module)
{
    for (Entry& entry : entries_) {
        if (entry.module.load() == module) Write(entry, nullptr, nullptr, nullptr);
    }
}

bool ReadyCreations::CreatingThrough(Platform::ModuleHandle module) const
{
    for (const Place& place : places_) {
        if (place.module.load() == module) return true;
    }
    return false;
}

}  // namespace Orvik
