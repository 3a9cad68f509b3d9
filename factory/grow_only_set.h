#pragma once
// A set of pointers that only ever grows, read without a lock: every smart
// pointer asks it at each release whether its object is a shared instance.
// Writers are serialised by their caller. A reader sees each pointer from
// the moment its insertion is published; a table outgrown by the set stays
// allocated until the set goes, so a reader still probing it is never left
// in freed memory (the tables together take at most twice the last one).

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

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
        const Table* table = current_.load(std::memory_order_acquire);
        if (table == nullptr || item == nullptr) return false;
        for (size_t i = table->Home(item);; i = (i + 1) & table->mask) {
            const T* slot = table->slots[i].load(std::memory_order_acquire);
            if (slot == item) return true;
            if (slot == nullptr) return false;
        }
    }

    // Only under the writers' lock. False when the item was there already.
    // May throw std::bad_alloc, leaving the set as it was.
    bool Insert(T* item)
    {
        if (item == nullptr || Contains(item)) return false;
        const Table* table = current_.load(std::memory_order_relaxed);
        // At most half full keeps the runs of probes short.
        if (table == nullptr || 2 * (size_ + 1) > table->mask + 1) {
            table = Grow(table == nullptr ? kInitialSlots : 2 * (table->mask + 1));
        }
        Place(*table, item);
        ++size_;
        return true;
    }

private:
    struct Table {
        explicit Table(size_t slotCount)
            : mask(slotCount - 1), shift(64 - Log2(slotCount)), slots(new std::atomic<T*>[slotCount])
        {
            for (size_t i = 0; i < slotCount; ++i) slots[i].store(nullptr, std::memory_order_relaxed);
        }
        // Fibonacci hashing: the high bits of the product spread near keys.
        size_t Home(const T* item) const
        {
            const uint64_t bits = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(item));
            return static_cast<size_t>((bits * 0x9E3779B97F4A7C15ull) >> shift) & mask;
        }
        static unsigned Log2(size_t n)
        {
            unsigned log = 0;
            while (n > 1) n >>= 1, ++log;
            return log;
        }
        const size_t mask;
        const unsigned shift;
        const std::unique_ptr<std::atomic<T*>[]> slots;
    };
    static constexpr size_t kInitialSlots = 16;

    static void Place(const Table& table, T* item)
    {
        size_t i = table.Home(item);
        while (table.slots[i].load(std::memory_order_relaxed) != nullptr) i = (i + 1) & table.mask;
        table.slots[i].store(item, std::memory_order_release);
    }

    // The new table is filled before it is published.
    const Table* Grow(size_t slotCount)
    {
        tables_.reserve(tables_.size() + 1);
        auto grown = std::make_unique<Table>(slotCount);
        if (const Table* old = current_.load(std::memory_order_relaxed)) {
            for (size_t i = 0; i <= old->mask; ++i) {
                if (T* item = old->slots[i].load(std::memory_order_relaxed)) Place(*grown, item);
            }
        }
        tables_.push_back(std::move(grown));
        current_.store(tables_.back().get(), std::memory_order_release);
        return tables_.back().get();
    }

    std::atomic<const Table*> current_{nullptr};
    std::vector<std::unique_ptr<Table>> tables_;  // every generation, the current one last
    size_t size_ = 0;
};

}  // namespace Orvik
