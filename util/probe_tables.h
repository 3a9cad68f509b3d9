#pragma once
// The tables of an open-addressing hash table that readers probe without a
// lock: power-of-two tables of slots, linear probing from a Fibonacci hash.
// A reader reaches a slot with one load before it: the published word is the
// table's address, 64-byte aligned, with the base-2 logarithm of its slot
// count in the low six bits. Writers are serialised by their caller. A table
// outgrown by a newer one stays allocated until the tables go, so a reader
// still probing it is never left in freed memory (the tables together take
// at most twice the last one).

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <vector>

namespace Orvik {

template <class Slot>
class TProbeTables {
    static_assert(std::is_trivially_destructible<Slot>::value, "slots are freed without being destroyed");

public:
    // One table as a reader sees it.
    class View {
    public:
        View() = default;
        explicit operator bool() const { return slots_ != nullptr; }
        size_t SlotCount() const { return mask_ + 1; }
        // Where the probe for bits starts; the high bits of the product
        // spread near keys.
        size_t Home(uint64_t bits) const
        {
            return static_cast<size_t>((bits * 0x9E3779B97F4A7C15ull) >> (64 - log2_));
        }
        size_t Next(size_t i) const { return (i + 1) & mask_; }
        Slot& operator[](size_t i) const { return slots_[i]; }

    private:
        friend class TProbeTables;
        View(Slot* slots, unsigned log2) : slots_(slots), mask_((size_t{1} << log2) - 1), log2_(log2) {}
        Slot* slots_ = nullptr;
        size_t mask_ = 0;
        unsigned log2_ = 0;
    };

    static constexpr size_t kInitialSlots = 16;

    TProbeTables() = default;
    TProbeTables(const TProbeTables&) = delete;
    TProbeTables& operator=(const TProbeTables&) = delete;

    // Safe from any thread: the published table, empty before the first.
    View Current(std::memory_order order = std::memory_order_acquire) const
    {
        const uintptr_t word = current_.load(order);
        return word == 0 ? View() : View(reinterpret_cast<Slot*>(word & ~kLogBits), static_cast<unsigned>(word & kLogBits));
    }

    // Only under the writers' lock: a table of default slots, twice the
    // current one (or the first), kept but not yet published. May throw
    // std::bad_alloc, leaving the tables as they were.
    View MakeLarger()
    {
        const View current = Current(std::memory_order_relaxed);
        const size_t count = current ? 2 * current.SlotCount() : kInitialSlots;
        unsigned log2 = 0;
        while ((size_t{1} << log2) < count) ++log2;
        tables_.reserve(tables_.size() + 1);
        SlotArray table(static_cast<Slot*>(::operator new(count * sizeof(Slot), kAlignment)));
        for (size_t i = 0; i < count; ++i) new (&table.get()[i]) Slot();
        tables_.push_back(std::move(table));
        return View(tables_.back().get(), log2);
    }

    // Only under the writers' lock: readers see table, filled, from now on.
    void Publish(const View& table)
    {
        current_.store(reinterpret_cast<uintptr_t>(table.slots_) | table.log2_, std::memory_order_release);
    }

private:
    static constexpr std::align_val_t kAlignment{64};
    static constexpr uintptr_t kLogBits = 63;

    struct FreeSlots {
        void operator()(Slot* slots) const { ::operator delete(slots, kAlignment); }
    };
    using SlotArray = std::unique_ptr<Slot, FreeSlots>;

    std::atomic<uintptr_t> current_{0};
    std::vector<SlotArray> tables_;  // every generation, the current one last
};

}  // namespace Orvik
