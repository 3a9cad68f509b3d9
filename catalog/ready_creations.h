#pragma once
// The scanned ids whose module is loaded and whose CreateComponent is
// found, for requests that take no lock: a request of a module in use asks
// here first, and only what is not ready goes through the catalog under its
// owner's lock.
//
// Each id has an entry that lives as long as the catalog. Its module and
// entry point are written together under the owner's lock, between two
// steps of a version count (odd while they change), so a reader sees both
// of one writing or tries again under the lock. A reader counts itself in
// the entry's callers before it reads the module and out after the
// creation has returned; whoever frees a module first withdraws it from
// every entry and then asks whether callers are still counted in an entry
// that held it (both in one total order, so one of them sees the other).
// An entry that held one module takes another only while no caller is
// counted in it, so "the module the entry held last" names every module a
// counted caller may be using.

#include <atomic>
#include <cstdint>
#include <deque>

#include "orvik/module/component.h"
#include "orvik/module/module_exports.h"
#include "orvik/platform/module_loader.h"
#include "util/open_hash_map.h"

namespace Orvik {

class ReadyCreations {
public:
    using CreateFunction = Exports::CreateComponent::Function;

    // Without any lock. Makes the component through the id's ready entry
    // and returns true, with the component (null when the creator made
    // none) in *component; false when the id has no ready entry, and the
    // caller goes the locked way.
    bool TryCreate(ComponentId componentId, IComponent** component);

    // Under the owner's lock. Makes the id ready with this module and entry
    // point, unless a caller is still counted in an entry that held another
    // module. Needs memory for a new id; without it the id is simply not
    // made ready.
    void Publish(ComponentId componentId, Platform::ModuleHandle module, CreateFunction createComponent);
    // Under the owner's lock: the id is no longer ready (its record changed).
    void Withdraw(ComponentId componentId);
    // Under the owner's lock: no id is ready through module any more.
    void WithdrawModule(Platform::ModuleHandle module);
    // Under the owner's lock, after WithdrawModule(module): a creation
    // through module that began without the lock has not yet returned.
    bool CreatingThrough(Platform::ModuleHandle module) const;

private:
    struct Entry {
        std::atomic<uint32_t> version{0};
        std::atomic<Platform::ModuleHandle> module{nullptr};
        std::atomic<CreateFunction> createComponent{nullptr};
        std::atomic<uint32_t> callers{0};
        // The module the entry held last; written under the owner's lock.
        Platform::ModuleHandle lastModule = nullptr;
    };
    // Under the owner's lock.
    static void Write(Entry& entry, Platform::ModuleHandle module, CreateFunction createComponent);

    TOpenHashMap<ComponentId, Entry> index_;
    // The entries, where they stay while the deque grows.
    std::deque<Entry> entries_;
};

}  // namespace Orvik
