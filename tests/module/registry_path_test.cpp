// The registry path as requests read it: without a lock, so a text once
// handed out must stay readable whatever path is set afterwards.

#include "orvik/module/registry_path.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

namespace Orvik::Testing {
namespace {

TEST(RegistryPath, TextsHandedOutOutliveLaterPaths)
{
    StoreRegistryPath("first.ini");
    const char* first = RegistryPath();
    StoreRegistryPath("second.ini");
    EXPECT_STREQ(first, "first.ini");
    EXPECT_STREQ(RegistryPath(), "second.ini");
    // Handing the same paths over again and again keeps no more copies.
    StoreRegistryPath("first.ini");
    EXPECT_EQ(RegistryPath(), first);

    const std::string fits(259, 'p'), over(260, 'q');
    StoreRegistryPath(fits.c_str());
    EXPECT_EQ(RegistryPath(), fits);
    StoreRegistryPath(over.c_str());
    EXPECT_STREQ(RegistryPath(), "");
    StoreRegistryPath("first.ini");
    StoreRegistryPath(nullptr);
    EXPECT_STREQ(RegistryPath(), "");

    StoreRegistryPath("first.ini");
    ForgetRegistryPaths();
    EXPECT_STREQ(RegistryPath(), "");
}

TEST(RegistryPath, ReadersSeeAWholePathWhileItChanges)
{
    std::atomic<bool> done{false};
    std::atomic<int> torn{0};
    std::thread reader([&] {
        while (!done) {
            const std::string seen = RegistryPath();
            if (seen != "" && seen != "a\\first.ini" && seen != "b\\second.ini") ++torn;
        }
    });
    for (int i = 0; i < 20000; ++i) StoreRegistryPath(i % 2 == 0 ? "a\\first.ini" : "b\\second.ini");
    done = true;
    reader.join();
    EXPECT_EQ(torn, 0);
    ForgetRegistryPaths();
}

}  // namespace
}  // namespace Orvik::Testing
