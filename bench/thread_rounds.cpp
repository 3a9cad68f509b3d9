#include "bench/thread_rounds.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace Orvik::Bench {

namespace {

// Operations between two looks at the stop flag, one batch: few enough that a thread
// stops within microseconds of being told, many enough that looking costs
// nothing.
constexpr int kStride = 64;

// Where the threads wait until all of them exist, so that none starts while
// the others are still being made.
class StartGate {
public:
    explicit StartGate(int threads) : waiting_(threads) {}

    void Arrive()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        --waiting_;
        changed_.notify_all();
        changed_.wait(lock, [this] { return open_; });
    }
    // The time just before the gate opened.
    std::chrono::steady_clock::time_point OpenWhenAllArrived()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return waiting_ == 0; });
        const auto opened = std::chrono::steady_clock::now();
        open_ = true;
        changed_.notify_all();
        return opened;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int waiting_;
    bool open_ = false;
};

}  // namespace

ThreadTurn RunOnThreads(World& world, Work work, int threads, double seconds)
{
    StartGate gate(threads);
    std::atomic<bool> stop{false};
    std::vector<int64_t> done(threads), wrong(threads);
    std::vector<std::thread> workers;
    for (int i = 0; i < threads; ++i) {
        workers.emplace_back([&, i] {
            gate.Arrive();
            // Each thread asks with answers of its own to check.
            const int32_t base = i << 16;
            int64_t operations = 0, bad = 0;
            int32_t x = 0;
            while (!stop.load(std::memory_order_relaxed)) {
                bad += work(world, base + x, kStride);
                x = (x + kStride) & 0xFFFF;
                operations += kStride;
            }
            done[i] = operations;
            wrong[i] = bad;
        });
    }
    // Every operation counted runs between these two readings of the clock.
    const auto start = gate.OpenWhenAllArrived();
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    stop.store(true, std::memory_order_relaxed);
    for (std::thread& worker : workers) worker.join();
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;

    ThreadTurn turn{0, 0};
    for (int i = 0; i < threads; ++i) {
        turn.operationsPerSecond += static_cast<double>(done[i]);
        turn.wrongAnswers += wrong[i];
    }
    turn.operationsPerSecond /= elapsed.count();
    return turn;
}

}  // namespace Orvik::Bench
