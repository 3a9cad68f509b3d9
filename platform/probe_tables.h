#pragma once
// The tables of an open-addressing hash table that readers probe without a
// lock: power-of-two tables of slots, linear probing from a Fibonacci hash.
// A table's size and its slots are one allocation, so a reader loads the
// published table and goes straight to its slot. Writers are serialised by
// their caller. A table outgrown by a newer one stays allocated until the
// tables go, so a reader still probing it is never left in freed memory
// (the tables together take at most twice the last one).

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

    struct Header {
        size_t mask;     // slot count - 1
        unsigned shift;  // 64 - log2(slot count)
    };
    // The slots follow the header in the table's allocation.
    static constexpr size_t kSlotsOffset = (sizeof(Header) + alignof(Slot) - 1) / alignof(Slot) * alignof(Slot);

public:
    // One table as a reader sees it.
    class View {
    public:
        View() = default;
        explicit operator bool() const { return header_ != nullptr; }
        size_t SlotCount() const { return header_->mask + 1; }
        // Where the probe for bits starts: the high bits of the product,
        // which spread near keys.
        size_t Home(uint64_t bits) const
        {
            return static_cast<size_t>((bits * 0x9E3779B97F4A7C15ull) >> header_->shift);
        }
        size_t Next(size_t i) const { return (i + 1) & header_->mask; }
        Slot& operator[](size_t i) const
        {
            return reinterpret_cast<Slot*>(reinterpret_cast<unsigned char*>(header_) + kSlotsOffset)[i];
        }

    private:
        friend class TProbeTables;
        explicit View(Header* header) : header_(header) {}
        Header* header_ = nullptr;
    };

    static constexpr size_t kInitialSlots = 16;

    TProbeTables() = default;
    TProbeTables(const TProbeTables&) = delete;
    TProbeTables& operator=(const TProbeTables&) = delete;

    // Safe from any thread: the published table, empty before the first.
    View Current(std::memory_order order = std::memory_order_acquire) const { return View(current_.load(order)); }

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
        Table table(static_cast<Header*>(::operator new(kSlotsOffset + count * sizeof(Slot))));
        new (table.get()) Header{count - 1, 64 - log2};
        const View view(table.get());
        for (size_t i = 0; i < count; ++i) new (&view[i]) Slot();
        tables_.push_back(std::move(table));
        return view;
    }

    // Only under the writers' lock: readers see table, filled, from now on.
    void Publish(const View& table) { current_.store(table.header_, std::memory_order_release); }

private:
    struct Free {
        void operator()(Header* header) const { ::operator delete(header); }
    };
    using Table = std::unique_ptr<Header, Free>;

    std::atomic<Header*> current_{nullptr};
    std::vector<Table> tables_;  // every generation, the current one last
};

}  // namespace Orvik
