#include "orvik/platform/thread_timer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace Orvik {
namespace {

std::atomic<int> g_ticks{0};
std::atomic<std::thread::id> g_tickThread;

void CountTick(void*, uint32_t, Platform::TimerId, uint32_t)
{
    g_tickThread = std::this_thread::get_id();
    ++g_ticks;
}

void StopOnFirstTick(void*, uint32_t, Platform::TimerId id, uint32_t)
{
    ++g_ticks;
    Platform::StopThreadTimer(id);
}

class ThreadTimer : public ::testing::Test {
protected:
    void SetUp() override { g_ticks = 0; }
};

TEST_F(ThreadTimer, FiresOnlyWhileItsOwnThreadDispatches)
{
    const Platform::TimerId id = Platform::StartThreadTimer(20, CountTick);
    ASSERT_NE(id, 0u);

    std::this_thread::sleep_for(std::chrono::milliseconds(120));
    EXPECT_EQ(g_ticks, 0) << "no dispatch, no tick";

    std::thread other([] { Platform::DispatchMessagesFor(120); });
    other.join();
    EXPECT_EQ(g_ticks, 0) << "another thread's dispatch does not deliver it";

    Platform::DispatchMessagesFor(200);
    EXPECT_GE(g_ticks, 2);
    EXPECT_EQ(g_tickThread.load(), std::this_thread::get_id());
    EXPECT_TRUE(Platform::StopThreadTimer(id));
}

TEST_F(ThreadTimer, MissedTicksCoalesce)
{
    const Platform::TimerId id = Platform::StartThreadTimer(10, CountTick);
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    Platform::DispatchMessagesFor(0);
    EXPECT_EQ(g_ticks, 1);
    Platform::StopThreadTimer(id);
}

TEST_F(ThreadTimer, CanBeStoppedFromAnotherThread)
{
    const Platform::TimerId id = Platform::StartThreadTimer(20, CountTick);
    bool stopped = false;
    std::thread other([&] { stopped = Platform::StopThreadTimer(id); });
    other.join();
    EXPECT_TRUE(stopped);

    Platform::DispatchMessagesFor(150);
    EXPECT_EQ(g_ticks, 0);
    EXPECT_FALSE(Platform::StopThreadTimer(id)) << "already stopped";
}

TEST_F(ThreadTimer, StopsItselfFromItsProcedure)
{
    const Platform::TimerId id = Platform::StartThreadTimer(10, StopOnFirstTick);
    Platform::DispatchMessagesFor(150);
    EXPECT_EQ(g_ticks, 1);
    EXPECT_FALSE(Platform::StopThreadTimer(id));
}

TEST_F(ThreadTimer, TimersOfOtherThreadsAreTheirs)
{
    std::atomic<Platform::TimerId> foreign{0};
    std::atomic<bool> started{false}, done{false};
    std::thread owner([&] {
        foreign = Platform::StartThreadTimer(10, CountTick);
        started = true;
        while (!done) Platform::DispatchMessagesFor(10);
    });
    while (!started) std::this_thread::yield();
    Platform::DispatchMessagesFor(100);  // ours to dispatch: nothing of the other's

    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_GE(g_ticks, 1);
    EXPECT_TRUE(Platform::StopThreadTimer(foreign));
    const int afterStop = g_ticks;
    std::this_thread::sleep_for(std::chrono::milliseconds(80));
    EXPECT_EQ(g_ticks, afterStop) << "no tick once stopped";
    done = true;
    owner.join();
    EXPECT_NE(g_tickThread.load(), std::this_thread::get_id());
}

}  // namespace
}  // namespace Orvik
