#pragma once
// A lock for a few instructions that never call out: taking it is one
// atomic exchange and leaving it one store, where the platform's re-entrant
// lock costs a call into the platform library and two read-modify-writes.
// Not re-entrant. A waiter spins briefly, then yields to the holder, which
// may have been preempted. Constant-initialised, so usable by any static
// object's constructor.

#include <atomic>

#include "orvik/platform/lock.h"
#include "orvik/platform/thread_annotations.h"

namespace Orvik {

class ORVIK_CAPABILITY("mutex") ShortLock {
public:
    constexpr ShortLock() = default;
    ShortLock(const ShortLock&) = delete;
    ShortLock& operator=(const ShortLock&) = delete;

    void lock() ORVIK_ACQUIRE()
    {
        while (held_.exchange(true, std::memory_order_acquire)) Wait();
    }
    void unlock() ORVIK_RELEASE() { held_.store(false, std::memory_order_release); }

private:
    void Wait() const
    {
        for (int spins = 0; held_.load(std::memory_order_relaxed); ++spins) {
            if (spins >= kSpinsBeforeYield) Platform::YieldThread();
        }
    }
    static constexpr int kSpinsBeforeYield = 64;
    std::atomic<bool> held_{false};
};

// Holds a ShortLock for its own lifetime.
class ORVIK_SCOPED_CAPABILITY ShortLockGuard {
public:
    explicit ShortLockGuard(ShortLock& lock) ORVIK_ACQUIRE(lock) : lock_(lock) { lock_.lock(); }
    ~ShortLockGuard() ORVIK_RELEASE() { lock_.unlock(); }
    ShortLockGuard(const ShortLockGuard&) = delete;
    ShortLockGuard& operator=(const ShortLockGuard&) = delete;

private:
    ShortLock& lock_;
};

}  // namespace Orvik
