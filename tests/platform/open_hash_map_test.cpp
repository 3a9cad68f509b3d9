#include "platform/open_hash_map.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

namespace Orvik::Testing {
namespace {

TEST(OpenHashMap, KeepsEveryValueThroughGrowthAndErasure)
{
    std::vector<int> values(3000);
    TOpenHashMap<uint32_t, int> map;
    EXPECT_EQ(map.Find(7), nullptr);
    for (uint32_t key = 0; key < values.size(); ++key) map.Set(key * 3, &values[key]);
    map.Set(0, &values[1]);  // a key set again keeps one entry
    map.EraseIf([](uint32_t key, int*) { return key % 2 == 1; });
    size_t visited = 0;
    map.ForEach([&](uint32_t key, int*) { visited += key % 2 == 0; });
    EXPECT_EQ(visited, values.size() / 2);
    EXPECT_EQ(map.Find(0), &values[1]);
    for (uint32_t key = 1; key < values.size(); ++key) {
        EXPECT_EQ(map.Find(key * 3), key * 3 % 2 == 0 ? &values[key] : nullptr) << key;
        EXPECT_EQ(map.Find(key * 3 + 1), nullptr);
    }
    map.Set(3, &values[0]);  // an erased key comes back in its old slot
    EXPECT_EQ(map.Find(3), &values[0]);
}

TEST(OpenHashMap, ReadersFindEveryPublishedKeyWhileTheMapGrows)
{
    constexpr uint32_t kKeys = 20000;
    std::vector<int> values(kKeys);
    TOpenHashMap<uint32_t, int> map;
    std::atomic<uint32_t> published{0};
    std::atomic<size_t> wrong{0};

    std::vector<std::thread> readers;
    for (uint32_t r = 0; r < 3; ++r) {
        readers.emplace_back([&, r] {
            for (uint32_t probe = r; published.load(std::memory_order_acquire) < kKeys; ++probe) {
                const uint32_t known = published.load(std::memory_order_acquire);
                if (known > 0 && map.Find((probe * 7919) % known) != &values[(probe * 7919) % known]) ++wrong;
                if (map.Find(kKeys + probe % 64) != nullptr) ++wrong;
            }
        });
    }
    for (uint32_t key = 0; key < kKeys; ++key) {
        map.Set(key, &values[key]);
        published.store(key + 1, std::memory_order_release);
    }
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(wrong.load(), 0u);
}

}  // namespace
}  // namespace Orvik::Testing
