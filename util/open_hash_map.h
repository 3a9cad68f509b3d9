#pragma once
// A small hash map from integer keys to pointers, for the lookup made on
// every request: open addressing with linear probing in a power-of-two
// table, so a lookup costs one multiplication and, nearly always, one
// probe, however many entries there are. Read without a lock; writers are
// serialised by their caller. A key, once placed, keeps its slot (a removed
// entry keeps its key with a null value), and a table outgrown by the map
// stays allocated until the map goes, so a reader still probing it is never
// left in freed memory (the tables together take at most twice the last
// one). A reader sees an entry from the moment its store is published.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

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
        const Table* table = current_.load(std::memory_order_acquire);
        if (table == nullptr) return nullptr;
        for (size_t i = table->Home(key);; i = (i + 1) & table->mask) {
            const Slot& slot = table->slots[i];
            if (!slot.used.load(std::memory_order_acquire)) return nullptr;
            if (slot.key == key) return slot.value.load(std::memory_order_acquire);
        }
    }

    // Only under the writers' lock: makes room for one more key, so that
    // the next Set cannot fail. May throw std::bad_alloc, leaving the map as
    // it was.
    void ReserveOneMore()
    {
        const Table* table = current_.load(std::memory_order_relaxed);
        // At most half full keeps the runs of probes short.
        if (table == nullptr || 2 * (keys_ + 1) > table->mask + 1) {
            Grow(table == nullptr ? kInitialSlots : 2 * (table->mask + 1));
        }
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
        Place(*current_.load(std::memory_order_relaxed), key, value);
        ++keys_;
    }

    // Only under the writers' lock: clears every entry for which
    // erase(key, value) holds.
    template <class Predicate>
    void EraseIf(Predicate erase)
    {
        const Table* table = current_.load(std::memory_order_relaxed);
        if (table == nullptr) return;
        for (size_t i = 0; i <= table->mask; ++i) {
            Slot& slot = table->slots[i];
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
        const Table* table = current_.load(std::memory_order_relaxed);
        if (table == nullptr) return;
        for (size_t i = 0; i <= table->mask; ++i) {
            const Slot& slot = table->slots[i];
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

    struct Table {
        explicit Table(size_t slotCount) : mask(slotCount - 1), shift(64 - Log2(slotCount)), slots(new Slot[slotCount])
        {
        }
        // Fibonacci hashing: the high bits of the product spread near keys.
        size_t Home(Key key) const
        {
            return static_cast<size_t>((static_cast<uint64_t>(key) * 0x9E3779B97F4A7C15ull) >> shift) & mask;
        }
        static unsigned Log2(size_t n)
        {
            unsigned log = 0;
            while (n > 1) n >>= 1, ++log;
            return log;
        }

        const size_t mask;
        const unsigned shift;
        const std::unique_ptr<Slot[]> slots;
    };

    static constexpr size_t kInitialSlots = 16;

    Slot* FindSlot(Key key) const
    {
        const Table* table = current_.load(std::memory_order_relaxed);
        if (table == nullptr) return nullptr;
        for (size_t i = table->Home(key);; i = (i + 1) & table->mask) {
            Slot& slot = table->slots[i];
            if (!slot.used.load(std::memory_order_relaxed)) return nullptr;
            if (slot.key == key) return &slot;
        }
    }

    static void Place(const Table& table, Key key, T* value)
    {
        size_t i = table.Home(key);
        while (table.slots[i].used.load(std::memory_order_relaxed)) i = (i + 1) & table.mask;
        Slot& slot = table.slots[i];
        slot.key = key;
        slot.value.store(value, std::memory_order_relaxed);
        slot.used.store(true, std::memory_order_release);
    }

    // The new table is filled before it is published; cleared entries are
    // left behind.
    const Table* Grow(size_t slotCount)
    {
        tables_.reserve(tables_.size() + 1);
        auto grown = std::make_unique<Table>(slotCount);
        size_t keys = 0;
        if (const Table* old = current_.load(std::memory_order_relaxed)) {
            for (size_t i = 0; i <= old->mask; ++i) {
                const Slot& slot = old->slots[i];
                T* value = slot.value.load(std::memory_order_relaxed);
                if (!slot.used.load(std::memory_order_relaxed) || value == nullptr) continue;
                Place(*grown, slot.key, value);
                ++keys;
            }
        }
        tables_.push_back(std::move(grown));
        keys_ = keys;
        current_.store(tables_.back().get(), std::memory_order_release);
        return tables_.back().get();
    }

    std::atomic<const Table*> current_{nullptr};
    std::vector<std::unique_ptr<Table>> tables_;  // every generation, the current one last
    size_t keys_ = 0;                             // keys placed in the current table
};

}  // namespace Orvik
