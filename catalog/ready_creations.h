#pragma once
// The ids whose module is loaded and was asked before, for requests that
// take no lock: a scanned module's, whose CreateComponent is found, and a
// section's, whose module is told the catalog and asked for its exports at
// every request as under the lock. A request of a module in use asks here
// first, and only what is not ready goes through the catalog under its
// owner's lock.
//
// Each id has an entry that lives as long as the catalog. Its module and
// entry point are written together under the owner's lock, between two
// steps of a version count (odd while they change). A reader takes both,
// names the module in a place of its own (found from its stack address, so
// that threads write to lines of their own), and checks that the version
// has not moved meanwhile; it clears the place once the creation has
// returned. Whoever frees a module first withdraws it from every entry and
// then looks for it in the places (both in one total order, so either the
// reader sees the withdrawal or the withdrawer sees the reader).

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>

#include "orvik/module/component.h"
#include "orvik/module/module_exports.h"
#include "orvik/platform/module_loader.h"
#include "platform/open_hash_map.h"

namespace Orvik {

class ReadyCreations {
public:
    using CreateFunction = Exports::CreateComponent::Function;
    // Tells a section's module the catalog's registry path and the factory,
    // and finds its CreateComponent; null when it has none.
    using SectionLookup = CreateFunction (*)(Platform::ModuleHandle module, const char* registryPath);

    ReadyCreations() = default;
    ReadyCreations(const ReadyCreations&) = delete;
    ReadyCreations& operator=(const ReadyCreations&) = delete;

    // Without any lock. Makes the component through the id's ready entry
    // and returns true, with the component (null when the creator made
    // none) in *component; false when the id is not ready, or no place was
    // free, and the caller goes the locked way.
    bool TryCreate(ComponentId componentId, IComponent** component, SectionLookup sectionLookup);

    // Under the owner's lock. Makes the id ready with this module and entry
    // point. Needs memory for a new id; without it the id is simply not made
    // ready.
    void Publish(ComponentId componentId, Platform::ModuleHandle module, CreateFunction createComponent);
    // Under the owner's lock. Makes a section's id ready with its module,
    // looked up with registryPath (which outlives the entry) at every
    // request. Needs memory for a new id, as Publish.
    void PublishSection(ComponentId componentId, Platform::ModuleHandle module, const char* registryPath);
    // Under the owner's lock: the id is no longer ready (its record changed).
    void Withdraw(ComponentId componentId);
    // Under the owner's lock: no id is ready through module any more.
    void WithdrawModule(Platform::ModuleHandle module);
    // After WithdrawModule(module): a creation through module that began
    // without the lock has not yet returned.
    bool CreatingThrough(Platform::ModuleHandle module) const;

private:
    struct Entry {
        std::atomic<uint32_t> version{0};
        std::atomic<Platform::ModuleHandle> module{nullptr};
        std::atomic<CreateFunction> createComponent{nullptr};  // null for a section's id
        std::atomic<const char*> sectionPath{nullptr};          // a section's registry path
    };
    // A cache line's length apart, so that threads do not share what they
    // write. (Padded rather than aligned: the catalog, and the factory that
    // holds one, stay in memory of the ordinary alignment.)
    struct Place {
        std::atomic<Platform::ModuleHandle> module{nullptr};
        char padding[64 - sizeof(std::atomic<Platform::ModuleHandle>)];
    };
    static constexpr size_t kPlaces = 64;
    // Tried in turn from the thread's own, before giving up.
    static constexpr size_t kPlacesTried = 4;

    // Under the owner's lock.
    static void Write(Entry& entry, Platform::ModuleHandle module, CreateFunction createComponent,
                      const char* sectionPath);
    // Under the owner's lock: the id's entry, made if needed; null without
    // memory for it.
    Entry* EntryOf(ComponentId componentId);
    // A free place, taken for module; null when the few tried were taken.
    Place* TakePlace(Platform::ModuleHandle module);

    TOpenHashMap<ComponentId, Entry> index_;
    // The entries, where they stay while the deque grows.
    std::deque<Entry> entries_;
    Place places_[kPlaces];
};

}  // namespace Orvik
