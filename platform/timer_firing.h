#pragma once
// The timer procedures being called: a record on the stack of the thread
// that calls one, linked into the backend's timer state meanwhile, so that a
// tick costs no allocation and a thread that kills the timer can wait for
// the call to end.

#include "orvik/platform/thread_timer.h"

namespace Orvik {
namespace Platform {

template <typename ThreadId>
struct TimerFiring {
    ThreadId thread;
    TimerId id;
    TimerFiring* next;
};

// Links the record of a call for its duration; made and ended under the
// state's lock, which the call itself runs without (Lock: lock, unlock,
// owns_lock). State has `firing`, the list's head, and `changed`, notified
// when a call ends.
template <typename State, typename Lock, typename ThreadId>
class FiringScope {
public:
    FiringScope(State& state, Lock& lock, ThreadId thread, TimerId id)
        : state_(state), lock_(lock), record_{thread, id, state.firing}
    {
        state_.firing = &record_;
    }
    ~FiringScope()
    {
        if (!lock_.owns_lock()) lock_.lock();
        TimerFiring<ThreadId>** link = &state_.firing;
        while (*link != &record_) link = &(*link)->next;
        *link = record_.next;
        state_.changed.notify_all();
    }
    FiringScope(const FiringScope&) = delete;
    FiringScope& operator=(const FiringScope&) = delete;

private:
    State& state_;
    Lock& lock_;
    TimerFiring<ThreadId> record_;
};

}  // namespace Platform
}  // namespace Orvik
