#pragma once
// The standard mutexes as the thread-safety analysis sees them: the
// standard library's own are not annotated, so data guarded by one would go
// unchecked. Same behaviour, same cost (every call is inline).

#include <mutex>

#include "orvik/platform/thread_annotations.h"

namespace Orvik {
namespace Platform {

class ORVIK_CAPABILITY("mutex") Mutex {
public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() ORVIK_ACQUIRE() { mutex_.lock(); }
    void unlock() ORVIK_RELEASE() { mutex_.unlock(); }

private:
    friend class MutexLock;
    std::mutex mutex_;
};

// Re-entrant: a thread that holds it may take it again. The analysis knows
// no re-entry: taken again through a call it passes unseen, taken twice in
// one function it is refused.
class ORVIK_CAPABILITY("mutex") RecursiveMutex {
public:
    RecursiveMutex() = default;
    RecursiveMutex(const RecursiveMutex&) = delete;
    RecursiveMutex& operator=(const RecursiveMutex&) = delete;

    void lock() ORVIK_ACQUIRE() { mutex_.lock(); }
    void unlock() ORVIK_RELEASE() { mutex_.unlock(); }

private:
    std::recursive_mutex mutex_;
};

// Holds a lock for its own lifetime.
template <typename Lock>
class ORVIK_SCOPED_CAPABILITY ScopedLock {
public:
    explicit ScopedLock(Lock& lock) ORVIK_ACQUIRE(lock) : lock_(lock) { lock_.lock(); }
    ~ScopedLock() ORVIK_RELEASE() { lock_.unlock(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    Lock& lock_;
};

using MutexGuard = ScopedLock<Mutex>;

// Leaves a held lock for its own lifetime and takes it again at its end: a
// call out that must run without it. A re-entrant lock held more than once
// stays held by this thread. Null: there is no lock to leave.
template <typename Lock>
class ORVIK_SCOPED_CAPABILITY ScopedUnlock {
public:
    explicit ScopedUnlock(Lock* lock) ORVIK_RELEASE(lock) : lock_(lock)
    {
        if (lock_ != nullptr) lock_->unlock();
    }
    // RELEASE, as for any scope: its end undoes what it began.
    ~ScopedUnlock() ORVIK_RELEASE()
    {
        if (lock_ != nullptr) lock_->lock();
    }
    ScopedUnlock(const ScopedUnlock&) = delete;
    ScopedUnlock& operator=(const ScopedUnlock&) = delete;

private:
    Lock* lock_;
};

// Holds a Mutex, may leave and take it again, and lets a condition
// variable wait on it (which leaves it meanwhile, unseen by the analysis:
// the lock is held again when the wait returns).
class ORVIK_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) ORVIK_ACQUIRE(mutex) : lock_(mutex.mutex_) {}
    ~MutexLock() ORVIK_RELEASE() {}
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    void lock() ORVIK_ACQUIRE() { lock_.lock(); }
    void unlock() ORVIK_RELEASE() { lock_.unlock(); }
    bool owns_lock() const { return lock_.owns_lock(); }
    // For std::condition_variable's waits only.
    std::unique_lock<std::mutex>& native() { return lock_; }

private:
    std::unique_lock<std::mutex> lock_;
};

}  // namespace Platform
}  // namespace Orvik
