#include "factory/grow_only_set.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace Orvik::Testing {
namespace {

TEST(GrowOnlySet, HoldsWhatWasInsertedThroughEveryGrowth)
{
    std::vector<int> items(5000);
    TGrowOnlySet<int> set;
    EXPECT_FALSE(set.Contains(&items[0]));
    for (size_t i = 0; i < items.size(); i += 2) EXPECT_TRUE(set.Insert(&items[i]));
    EXPECT_FALSE(set.Insert(&items[0])) << "a second insertion adds nothing";
    EXPECT_FALSE(set.Insert(nullptr));
    for (size_t i = 0; i < items.size(); ++i) EXPECT_EQ(set.Contains(&items[i]), i % 2 == 0) << i;
    EXPECT_FALSE(set.Contains(nullptr));
}

TEST(GrowOnlySet, ReadersSeeEveryPublishedItemWhileTheSetGrows)
{
    // One writer grows the set many times over; readers find every item
    // whose insertion they have seen published, and never one not inserted.
    constexpr size_t kItems = 20000;
    std::vector<int> items(kItems), strangers(64);
    TGrowOnlySet<int> set;
    std::atomic<size_t> published{0};
    std::atomic<size_t> misses{0}, falseHits{0};

    std::vector<std::thread> readers;
    for (int r = 0; r < 3; ++r) {
        readers.emplace_back([&, r] {
            size_t probe = static_cast<size_t>(r);
            while (published.load(std::memory_order_acquire) < kItems) {
                const size_t known = published.load(std::memory_order_acquire);
                if (known > 0 && !set.Contains(&items[(probe * 7919) % known])) ++misses;
                if (set.Contains(&strangers[probe % strangers.size()])) ++falseHits;
                ++probe;
            }
        });
    }
    for (size_t i = 0; i < kItems; ++i) {
        set.Insert(&items[i]);
        published.store(i + 1, std::memory_order_release);
    }
    for (std::thread& reader : readers) reader.join();

    EXPECT_EQ(misses.load(), 0u);
    EXPECT_EQ(falseHits.load(), 0u);
    for (int& item : items) EXPECT_TRUE(set.Contains(&item));
}

}  // namespace
}  // namespace Orvik::Testing
