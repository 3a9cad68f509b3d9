#pragma once
// A set of pointers that only ever grows, read without a lock: every smart
// pointer asks it at each release whether its object is a shared instance.
// Writers are serialised by their caller. A reader sees each pointer from
// the moment its insertion is published.

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "orvik/platform/branch_hints.h"
#include "platform/probe_tables.h"

namespace Orvik {

template <class T>
class TGrowOnlySet {
public:
    TGrowOnlySet() = default;
    TGrowOnlySet(const TGrowOnlySet&) = delete;
    TGrowOnlySet& operator=(const TGrowOnlySet&) = delete;

    // Safe from any thread, at any time, without the writers' lock.
    bool Contains(const T* item) const
    {
        const Table table = tables_.Current();
        if (!table || item == nullptr) return false;
        const size_t home = table.Home(Bits(item));
        if (ORVIK_LIKELY(table[home].load(std::memory_order_acquire) == item)) return true;
        for (size_t i = home;; i = table.Next(i)) {
            const T* slot = table[i].load(std::memory_order_acquire);
            if (slot == item) return true;
            if (slot == nullptr) return false;
        }
    }

    // Only under the writers' lock. False when the item was there already.
    // May throw std::bad_alloc, leaving the set as it was.
    bool Insert(T* item)
    {
        if (item == nullptr || Contains(item)) return false;
        Table table = tables_.Current(std::memory_order_relaxed);
        // At most half full keeps the runs of probes short.
        if (!table || 2 * (size_ + 1) > table.SlotCount()) table = Grow();
        Place(table, item);
        ++size_;
        return true;
    }

private:
    using Table = typename TProbeTables<std::atomic<T*>>::View;

    static uint64_t Bits(const T* item) { return static_cast<uint64_t>(reinterpret_cast<uintptr_t>(item)); }

    static void Place(const Table& table, T* item)
    {
        size_t i = table.Home(Bits(item));
        while (table[i].load(std::memory_order_relaxed) != nullptr) i = table.Next(i);
        table[i].store(item, std::memory_order_release);
    }

    // The new table is filled before it is published.
    Table Grow()
    {
        const Table old = tables_.Current(std::memory_order_relaxed);
        const Table grown = tables_.MakeLarger();
        for (size_t i = 0; old && i < old.SlotCount(); ++i) {
            if (T* item = old[i].load(std::memory_order_relaxed)) Place(grown, item);
        }
        tables_.Publish(grown);
        return grown;
    }

    TProbeTables<std::atomic<T*>> tables_;
    size_t size_ = 0;
};

}  // namespace Orvik
