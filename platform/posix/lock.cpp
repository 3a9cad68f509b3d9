#include "orvik/platform/lock.h"

#include <pthread.h>
#include <sched.h>

#include <new>

namespace Orvik {
namespace Platform {

static_assert(sizeof(pthread_mutex_t) <= sizeof(CriticalSection::storage), "lock storage too small");
static_assert(alignof(pthread_mutex_t) <= alignof(CriticalSection), "lock storage misaligned");

namespace {
pthread_mutex_t* MutexOf(CriticalSection* lock) { return reinterpret_cast<pthread_mutex_t*>(lock->storage); }
}  // namespace

void InitializeLock(CriticalSection* lock)
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(new (lock->storage) pthread_mutex_t, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

// The lock's own implementation: the analysis cannot see inside it.
void EnterLock(CriticalSection* lock) ORVIK_NO_THREAD_SAFETY_ANALYSIS { pthread_mutex_lock(MutexOf(lock)); }

void LeaveLock(CriticalSection* lock) ORVIK_NO_THREAD_SAFETY_ANALYSIS { pthread_mutex_unlock(MutexOf(lock)); }

void DeleteLock(CriticalSection* lock) { pthread_mutex_destroy(MutexOf(lock)); }

void YieldThread() { sched_yield(); }

}  // namespace Platform
}  // namespace Orvik
