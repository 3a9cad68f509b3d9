#pragma once
// A pointer of each thread, in a key of the thread library. Unlike a
// thread_local of this library, which the process may load at run time, it
// needs no memory when a thread first uses it, and the hook at a thread's
// end is no destructor registration that can fail.

#include <pthread.h>

namespace Orvik {
namespace Platform {

class ThreadSlot {
public:
    // atThreadExit receives the thread's value when the thread ends, if it
    // is not null.
    explicit ThreadSlot(void (*atThreadExit)(void*) = nullptr)
        : usable_(pthread_key_create(&key_, atThreadExit) == 0)
    {
    }
    ThreadSlot(const ThreadSlot&) = delete;
    ThreadSlot& operator=(const ThreadSlot&) = delete;

    // Null until the thread sets a value, and when no key could be had.
    void* Get() const { return usable_ ? pthread_getspecific(key_) : nullptr; }
    // False when the value could not be kept.
    bool Set(void* value) { return usable_ && pthread_setspecific(key_, value) == 0; }

private:
    pthread_key_t key_{};
    bool usable_;
};

}  // namespace Platform
}  // namespace Orvik
