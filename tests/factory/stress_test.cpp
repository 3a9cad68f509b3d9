// Many threads use one factory at once: they obtain, call and release
// components of section, scanned and default modules and of a shared
// instance, through the smart pointer and through a second configuration,
// dispatch their messages so that idle modules are unloaded under them, and
// one thread registers further shared instances. Every answer must be right,
// and at the end every provider leaves memory, with no line written. A
// watchdog ends the process when the threads stop making progress.
//
// ORVIK_STRESS_SECONDS sets how long the threads run (10 by default).

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "tests/factory/factory_fixture.h"

namespace Orvik::Testing {
namespace {

using Clock = std::chrono::steady_clock;

int StressSeconds()
{
    const char* text = std::getenv("ORVIK_STRESS_SECONDS");
    const int seconds = text != nullptr ? std::atoi(text) : 0;
    return seconds > 0 ? seconds : 10;
}

// Ends the process when nobody reported progress for a while: a deadlock
// would otherwise hold the test until ctest's own limit, saying nothing.
class Watchdog {
public:
    explicit Watchdog(std::chrono::seconds patience)
        : thread_([this, patience] {
              std::unique_lock<std::mutex> lock(mutex_);
              while (!done_) {
                  const uint64_t seen = progress_.load();
                  if (changed_.wait_for(lock, patience, [&] { return done_; })) return;
                  if (progress_.load() == seen) {
                      std::fprintf(stderr, "stress test: no progress for %d s, giving up\n",
                                   static_cast<int>(patience.count()));
                      std::fflush(stderr);
                      std::abort();
                  }
              }
          })
    {
    }
    ~Watchdog()
    {
        {
            std::lock_guard<std::mutex> guard(mutex_);
            done_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }
    void Progress() { progress_.fetch_add(1, std::memory_order_relaxed); }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool done_ = false;
    std::atomic<uint64_t> progress_{0};
    std::thread thread_;
};

// Counts the times a module was seen leaving memory.
class UnloadCounter {
public:
    explicit UnloadCounter(std::vector<const char*> modules)
        : modules_(std::move(modules)), thread_([this] {
              std::vector<bool> loaded(modules_.size(), false);
              while (!done_.load()) {
                  for (size_t i = 0; i < modules_.size(); ++i) {
                      const bool now = IsLoaded(modules_[i]);
                      if (loaded[i] && !now) unloads_.fetch_add(1);
                      loaded[i] = now;
                  }
                  std::this_thread::sleep_for(std::chrono::milliseconds(1));
              }
          })
    {
    }
    ~UnloadCounter() { Stop(); }
    uint64_t Stop()
    {
        done_ = true;
        if (thread_.joinable()) thread_.join();
        return unloads_;
    }

private:
    std::vector<const char*> modules_;
    std::atomic<bool> done_{false};
    std::atomic<uint64_t> unloads_{0};
    std::thread thread_;
};

using Stress = FactoryTest;

TEST_F(Stress, ThreadsRequestReleaseRegisterAndUnloadAtOnce)
{
    WriteOrvikIni("dlls=fact_beta.dll,fact_shared.dll,fact_gamma.dll\n[8201]\ndll=fact_alpha.dll\n");
    const std::string second = WriteConfig("second.ini", "[8201]\ndll=fact_beta.dll\n");
    IOrvikComponentFactory* factory = Factory();

    constexpr int kWorkers = 6;
    const auto deadline = Clock::now() + std::chrono::seconds(StressSeconds());
    std::atomic<uint64_t> requests{0};
    std::atomic<uint64_t> wrongAnswers{0};
    std::atomic<uint64_t> registered{0};
    Watchdog watchdog(std::chrono::seconds(60));
    UnloadCounter unloads({"fact_alpha.dll", "fact_beta.dll"});

    struct Expected {
        ComponentId id;
        int32_t tag;
    };
    const Expected kinds[] = {{kCommonId, kAlphaTag}, {kBetaOnlyId, kBetaTag}, {kGammaId, kGammaTag},
                              {kSharedId, kSharedTag}};

    std::vector<std::thread> threads;
    for (int worker = 0; worker < kWorkers; ++worker) {
        threads.emplace_back([&, worker] {
            std::minstd_rand random(static_cast<unsigned>(worker) + 1);
            while (Clock::now() < deadline) {
                const Expected& kind = kinds[random() % std::size(kinds)];
                if (random() % 8 == 0) {
                    // Through the catalog of another configuration, by hand.
                    IComponent* component = factory->CreateComponentByID(kCommonId, second.c_str());
                    auto* probe = static_cast<IProviderProbe*>(component);
                    if (probe == nullptr || probe->ModuleTag() != kBetaTag) ++wrongAnswers;
                    if (probe != nullptr) probe->Release(0);
                } else if (Use(kind.id).tag != kind.tag) {
                    ++wrongAnswers;
                }
                ++requests;
                watchdog.Progress();
                // Ticks of this thread's timer unload what fell idle.
                Platform::DispatchMessagesFor(random() % 4 == 0 ? 1 : 0);
            }
        });
    }
    threads.emplace_back([&] {
        while (Clock::now() < deadline) {
            if (IProviderProbe* kept = client_->Keep(kGammaId)) {
                if (registered % 2 == 0) {
                    factory->AddRegisteredInstance(kept);
                } else {
                    factory->RegisterInstance(kGammaId + 1000, kept);
                }
                ++registered;
            } else {
                ++wrongAnswers;
            }
            watchdog.Progress();
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
    for (std::thread& thread : threads) thread.join();
    const uint64_t unloadsSeen = unloads.Stop();

    EXPECT_EQ(wrongAnswers.load(), 0u);
    EXPECT_GT(registered.load(), 0u);
    std::printf("stress: %d threads, %d s, %llu requests, %llu shared instances registered, %llu unloads seen\n",
                kWorkers + 1, StressSeconds(), static_cast<unsigned long long>(requests.load()),
                static_cast<unsigned long long>(registered.load()), static_cast<unsigned long long>(unloadsSeen));

    // The shared instances go, and with them the last components: the
    // timers of the ended threads are gone, so this thread's takes over.
    factory->ReleaseRegisteredInstances();
    EXPECT_TRUE(DispatchUntilUnloaded({"fact_alpha.dll", "fact_beta.dll", "fact_gamma.dll", "fact_shared.dll"}));
    EXPECT_EQ(debug_.Take(), Lines{}) << "no failure, leak report or other line";
}

}  // namespace
}  // namespace Orvik::Testing
