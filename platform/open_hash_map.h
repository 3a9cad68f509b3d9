#pragma once
// A small hash map from integer keys to pointers, for the lookup made on
// every request: open addressing with linear probing in a power-of-two
// table, so a lookup costs one multiplication and, nearly always, one
// probe, however many entries there are. Read without a lock; writers are
// serialised by their caller. A key, once placed, keeps its slot (a removed
// entry keeps its key with a null value). A reader sees an entry from the
// moment its store is published.

#include <atomic>
#include <cstddef>

#include "orvik/platform/branch_hints.h"
#include "platform/probe_tables.h"

namespace Orvik {

template <class Key, class T>
class TOpenHashMap {
public:
    TOpenHashMap() = default;
    TOpenHashMap(const TOpenHashMap&) = delete;
    TOpenHashMap& operator=(const TOpenHashMap&) = delete;

    // Safe from any thread, at any time: the key's value, null when none.
    T* Find(Key key) const
    {
        const Table table = tables_.Current();
        if (!table) return nullptr;
        const size_t home = table.Home(key);
        const Slot& first = table[home];
        if (ORVIK_LIKELY(first.used.load(std::memory_order_acquire) && first.key == key)) {
            return first.value.load(std::memory_order_acquire);
        }
        for (size_t i = home;; i = table.Next(i)) {
            const Slot& slot = table[i];
            if (!slot.used.load(std::memory_order_acquire)) return nullptr;
            if (slot.key == key) return slot.value.load(std::memory_order_acquire);
        }
    }

    // Only under the writers' lock: makes room for one more key, so that
    // the next Set cannot fail. May throw std::bad_alloc, leaving the map as
    // it was.
    void ReserveOneMore()
    {
        const Table table = tables_.Current(std::memory_order_relaxed);
        // At most half full keeps the runs of probes short.
        if (!table || 2 * (keys_ + 1) > table.SlotCount()) Grow();
    }

    // Only under the writers' lock: sets the key's value. May throw
    // std::bad_alloc, leaving the map as it was.
    void Set(Key key, T* value)
    {
        if (Slot* slot = FindSlot(key)) {
            slot->value.store(value, std::memory_order_release);
            return;
        }
        ReserveOneMore();
        Place(tables_.Current(std::memory_order_relaxed), key, value);
        ++keys_;
    }

    // Only under the writers' lock: clears every entry for which
    // erase(key, value) holds.
    template <class Predicate>
    void EraseIf(Predicate erase)
    {
        const Table table = tables_.Current(std::memory_order_relaxed);
        for (size_t i = 0; table && i < table.SlotCount(); ++i) {
            Slot& slot = table[i];
            T* value = slot.value.load(std::memory_order_relaxed);
            if (slot.used.load(std::memory_order_relaxed) && value != nullptr && erase(slot.key, value)) {
                slot.value.store(nullptr, std::memory_order_release);
            }
        }
    }

    // Only under the writers' lock: calls visit(key, value) for every entry
    // that has a value, in no particular order.
    template <class Visit>
    void ForEach(Visit visit) const
    {
        const Table table = tables_.Current(std::memory_order_relaxed);
        for (size_t i = 0; table && i < table.SlotCount(); ++i) {
            const Slot& slot = table[i];
            T* value = slot.value.load(std::memory_order_relaxed);
            if (slot.used.load(std::memory_order_relaxed) && value != nullptr) visit(slot.key, value);
        }
    }

private:
    struct Slot {
        Key key{};
        std::atomic<T*> value{nullptr};
        std::atomic<bool> used{false};  // published after key and value
    };
    using Table = typename TProbeTables<Slot>::View;

    Slot* FindSlot(Key key) const
    {
        const Table table = tables_.Current(std::memory_order_relaxed);
        if (!table) return nullptr;
        for (size_t i = table.Home(key);; i = table.Next(i)) {
            Slot& slot = table[i];
            if (!slot.used.load(std::memory_order_relaxed)) return nullptr;
            if (slot.key == key) return &slot;
        }
    }

    static void Place(const Table& table, Key key, T* value)
    {
        size_t i = table.Home(key);
        while (table[i].used.load(std::memory_order_relaxed)) i = table.Next(i);
        Slot& slot = table[i];
        slot.key = key;
        slot.value.store(value, std::memory_order_relaxed);
        slot.used.store(true, std::memory_order_release);
    }

    // The new table is filled before it is published; cleared entries are
    // left behind.
    void Grow()
    {
        const Table old = tables_.Current(std::memory_order_relaxed);
        const Table grown = tables_.MakeLarger();
        size_t keys = 0;
        for (size_t i = 0; old && i < old.SlotCount(); ++i) {
            const Slot& slot = old[i];
            T* value = slot.value.load(std::memory_order_relaxed);
            if (!slot.used.load(std::memory_order_relaxed) || value == nullptr) continue;
            Place(grown, slot.key, value);
            ++keys;
        }
        keys_ = keys;
        tables_.Publish(grown);
    }

    TProbeTables<Slot> tables_;
    size_t keys_ = 0;  // keys placed in the current table
};

}  // namespace Orvik
