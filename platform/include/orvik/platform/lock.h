#pragma once
// The re-entrant lock: a thread that holds it may enter it again.

#include "orvik/platform/platform_api.h"

namespace Orvik {
namespace Platform {

// Storage for the platform's lock object. Its address may be handed to other
// modules, which lock it with the calls below.
struct CriticalSection {
    alignas(8) unsigned char storage[64];
};

ORVIK_PLATFORM_API void InitializeLock(CriticalSection* lock);
ORVIK_PLATFORM_API void EnterLock(CriticalSection* lock);
ORVIK_PLATFORM_API void LeaveLock(CriticalSection* lock);
ORVIK_PLATFORM_API void DeleteLock(CriticalSection* lock);

// A lock made with its owner and deleted with it.
class OwnedLock {
public:
    OwnedLock() { InitializeLock(&section_); }
    ~OwnedLock() { DeleteLock(&section_); }
    OwnedLock(const OwnedLock&) = delete;
    OwnedLock& operator=(const OwnedLock&) = delete;
    CriticalSection& section() { return section_; }

private:
    CriticalSection section_;
};

// Holds the lock for its own lifetime.
class LockGuard {
public:
    explicit LockGuard(CriticalSection& lock) : lock_(lock) { EnterLock(&lock_); }
    ~LockGuard() { LeaveLock(&lock_); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

private:
    CriticalSection& lock_;
};

}  // namespace Platform
}  // namespace Orvik
