#include "factory/open_hash_map.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace Orvik::Testing {
namespace {

// The map agrees with a std::map: every key it should hold is found with
// its value, and a key it should not hold is not found.
void ExpectSame(TOpenHashMap<uint32_t, int>& map, const std::map<uint32_t, int>& expected, uint32_t keyRange)
{
    for (uint32_t key = 0; key < keyRange; ++key) {
        const auto found = expected.find(key);
        int* value = map.Find(key);
        ASSERT_EQ(value != nullptr, found != expected.end()) << "key " << key;
        if (value != nullptr) {
            EXPECT_EQ(*value, found->second) << "key " << key;
        }
    }
}

TEST(OpenHashMap, ErasingInPlaceKeepsEveryOtherEntryFindable)
{
    // Removing an entry moves back those probed past it, across the end of
    // the table too: after every round of sets and removals the map still
    // finds exactly what it holds, in tables of every size it passes.
    std::mt19937 random(20240611);
    constexpr uint32_t kKeys = 3000;
    TOpenHashMap<uint32_t, int> map;
    std::map<uint32_t, int> expected;
    for (int round = 0; round < 40; ++round) {
        for (int i = 0; i < 150; ++i) {
            const uint32_t key = random() % kKeys;
            const int value = static_cast<int>(random());
            map.Set(key, value);
            expected[key] = value;
        }
        const uint32_t divisor = 2 + random() % 5;
        const uint32_t remainder = random() % divisor;
        map.EraseIf([&](uint32_t key, int) { return key % divisor == remainder; });
        for (auto it = expected.begin(); it != expected.end();) {
            it = it->first % divisor == remainder ? expected.erase(it) : std::next(it);
        }
        ExpectSame(map, expected, kKeys);
    }
}

TEST(OpenHashMap, ErasingByValueRemovesEveryKeyOfThatValue)
{
    TOpenHashMap<uint32_t, int> map;
    for (uint32_t key = 1; key <= 100; ++key) map.Set(key, key % 3 == 0 ? 7 : 1);
    map.EraseIf([](uint32_t, int value) { return value == 7; });
    for (uint32_t key = 1; key <= 100; ++key) EXPECT_EQ(map.Find(key) != nullptr, key % 3 != 0) << key;
    map.EraseIf([](uint32_t, int) { return true; });
    EXPECT_EQ(map.Find(1), nullptr);
    map.Set(5, 9);
    ASSERT_NE(map.Find(5), nullptr);
    EXPECT_EQ(*map.Find(5), 9);
}

}  // namespace
}  // namespace Orvik::Testing
