// Uses of the framework's locks that the thread-safety analysis must
// refuse. Without a definition the file is correct and compiles without a
// warning; each definition adds one fault (CMakeLists.txt names the
// diagnostic each must bring).

#include "module/module_state.h"
#include "module/short_lock.h"
#include "orvik/platform/lock.h"
#include "orvik/platform/thread_annotations.h"
#include "platform/mutex.h"

namespace Orvik {

struct Counted {
    Platform::Mutex lock;
    int count ORVIK_GUARDED_BY(lock) = 0;
};

void Count(Counted& counted)
{
    {
        const Platform::MutexGuard guard(counted.lock);
        ++counted.count;
    }
#ifdef WRITE_WITHOUT_LOCK
    ++counted.count;
#endif
}

void CountAroundWait(Counted& counted)
{
    Platform::MutexLock lock(counted.lock);
    ++counted.count;
    lock.unlock();
#ifdef WRITE_WHILE_LEFT
    ++counted.count;
#endif
    lock.lock();
    ++counted.count;
}

// The factory's pair: the outer lock handed to components, the inner one
// left while a creator runs.
struct Owner {
    Platform::CriticalSection outer;
    Platform::RecursiveMutex inner ORVIK_ACQUIRED_AFTER(outer);
    int state ORVIK_GUARDED_BY(inner) = 0;
};

void CallOut(Owner& owner)
{
    const Platform::LockGuard first(owner.outer);
    const Platform::ScopedLock<Platform::RecursiveMutex> second(owner.inner);
    owner.state = 1;
    {
        const Platform::ScopedUnlock<Platform::RecursiveMutex> left(&owner.inner);
#ifdef WRITE_WHILE_HANDED_OFF
        owner.state = 2;
#endif
    }
    owner.state = 3;
}

#ifdef AGAINST_THE_ORDER
void TakeInnerFirst(Owner& owner)
{
    const Platform::ScopedLock<Platform::RecursiveMutex> first(owner.inner);
    const Platform::LockGuard second(owner.outer);
}
#endif

void TakeShortLock(ShortLock& lock)
{
    const ShortLockGuard guard(lock);
#ifdef SHORT_LOCK_TWICE
    const ShortLockGuard again(lock);
#endif
}

bool ShardIsEmpty(LiveShard& shard)
{
    {
        const ShardGuard guard(shard);
        if (MapOf(shard) == nullptr) return true;
    }
#ifdef SHARD_WITHOUT_LOCK
    return MapOf(shard)->empty();
#else
    return false;
#endif
}

void AddCreator(CreatorFunction creator)
{
#ifndef CREATOR_WITHOUT_MODULE_LOCK
    const ModuleLockGuard guard;
#endif
    State().creators[0] = CreatorEntry{1, creator};
}

#ifdef OTHER_SHARDS_MAP
bool OtherShardIsEmpty(LiveShard& held, LiveShard& other)
{
    const ShardGuard guard(held);
    return MapOf(other)->empty();
}
#endif

}  // namespace Orvik
