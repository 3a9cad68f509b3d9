#include "orvik/platform/lock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace Orvik {
namespace {

TEST(Lock, IsReentrantForItsOwnerAndExcludesOthers)
{
    Platform::CriticalSection lock;
    Platform::InitializeLock(&lock);
    Platform::EnterLock(&lock);
    Platform::EnterLock(&lock);  // the owner enters again without blocking

    std::atomic<bool> entered{false};
    std::thread other([&] {
        Platform::EnterLock(&lock);
        entered = true;
        Platform::LeaveLock(&lock);
    });
    Platform::LeaveLock(&lock);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(entered) << "still held once";
    Platform::LeaveLock(&lock);
    other.join();
    EXPECT_TRUE(entered);
    Platform::DeleteLock(&lock);
}

}  // namespace
}  // namespace Orvik
