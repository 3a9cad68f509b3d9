#pragma once
/// \file
/// The re-entrant lock: a thread that holds it may enter it again.

#include "orvik/platform/platform_api.h"
#include "orvik/platform/thread_annotations.h"

namespace Orvik {
namespace Platform {

/// Storage for the platform's lock object. Its address may be handed to other
/// modules, which lock it with the calls below.
///
/// On Windows the storage begins with the system's critical section, so a
/// module of another compiler may pass the address to EnterCriticalSection
/// and LeaveCriticalSection. On POSIX it holds a recursive mutex of the
/// platform library: lock it only through EnterLock and LeaveLock.
struct ORVIK_CAPABILITY("mutex") CriticalSection {
    alignas(8) unsigned char storage[64];  ///< The lock object; opaque.
};

/// Makes the lock usable; once, before any other call.
ORVIK_PLATFORM_API void InitializeLock(CriticalSection* lock);
/// Waits for the lock and takes it; the thread that holds it may enter again.
ORVIK_PLATFORM_API void EnterLock(CriticalSection* lock) ORVIK_ACQUIRE(*lock);
/// Leaves the lock once for every EnterLock.
ORVIK_PLATFORM_API void LeaveLock(CriticalSection* lock) ORVIK_RELEASE(*lock);
/// Ends the lock; nobody may hold it or enter it afterwards.
ORVIK_PLATFORM_API void DeleteLock(CriticalSection* lock);
/// Lets another thread run on this processor, for a lock that waits by
/// spinning while its holder may have been preempted.
ORVIK_PLATFORM_API void YieldThread();

/// A lock made with its owner and deleted with it.
class OwnedLock {
public:
    OwnedLock() { InitializeLock(&section_); }
    ~OwnedLock() { DeleteLock(&section_); }
    OwnedLock(const OwnedLock&) = delete;
    OwnedLock& operator=(const OwnedLock&) = delete;
    /// The lock, for LockGuard and the calls above.
    CriticalSection& section() ORVIK_RETURN_CAPABILITY(section_) { return section_; }

private:
    CriticalSection section_;
};

/// Holds the lock for its own lifetime.
class ORVIK_SCOPED_CAPABILITY LockGuard {
public:
    /// Enters lock; the guard's end leaves it.
    explicit LockGuard(CriticalSection& lock) ORVIK_ACQUIRE(lock) : lock_(lock) { EnterLock(&lock_); }
    ~LockGuard() ORVIK_RELEASE() { LeaveLock(&lock_); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

private:
    CriticalSection& lock_;
};

}  // namespace Platform
}  // namespace Orvik
