// Thread timers: each belongs to the thread that started it and fires only
// inside that thread's DispatchMessagesFor, as window-less timers do on
// Windows. Ticks missed while the thread was busy coalesce into one.

#include "orvik/platform/thread_timer.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <new>
#include <thread>

#include "platform/mutex.h"
#include "platform/posix/error_numbers.h"
#include "platform/posix/thread_slot.h"
#include "platform/timer_firing.h"

namespace Orvik {
namespace Platform {

namespace {

using Clock = std::chrono::steady_clock;
constexpr uint32_t kTimerMessage = 0x0113;

struct Timer {
    std::thread::id owner;
    std::chrono::milliseconds interval;
    Clock::time_point due;
    TimerProc proc;
};

using Firing = TimerFiring<std::thread::id>;

struct TimerState {
    Mutex mutex;
    std::condition_variable changed;
    std::map<TimerId, Timer> timers ORVIK_GUARDED_BY(mutex);
    Firing* firing ORVIK_GUARDED_BY(mutex) ORVIK_PT_GUARDED_BY(mutex) = nullptr;  // procedures being called
    TimerId nextId ORVIK_GUARDED_BY(mutex) = 1;
};

TimerState& State()
{
    // Never destroyed: it outlives every thread's exit. Made in place, it
    // needs no memory that could fail to come.
    alignas(TimerState) static unsigned char storage[sizeof(TimerState)];
    static TimerState* const state = new (storage) TimerState;
    return *state;
}

uint32_t TickCount()
{
    const auto sinceStart = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch());
    return static_cast<uint32_t>(sinceStart.count());
}

// A thread's timers end with the thread.
void ReapThreadTimers(void*)
{
    TimerState& state = State();
    MutexGuard guard(state.mutex);
    for (auto it = state.timers.begin(); it != state.timers.end();) {
        it = it->second.owner == std::this_thread::get_id() ? state.timers.erase(it) : std::next(it);
    }
}

// Set on a thread that starts a timer, so that its end reaps the timers.
bool ReapAtThreadEnd()
{
    static ThreadSlot reaper(ReapThreadTimers);
    static char marker;
    return reaper.Get() != nullptr || reaper.Set(&marker);
}

// Another thread is calling the timer's procedure.
bool FiringElsewhere(const TimerState& state, TimerId id) ORVIK_REQUIRES(state.mutex)
{
    for (const Firing* call = state.firing; call != nullptr; call = call->next) {
        if (call->id == id && call->thread != std::this_thread::get_id()) return true;
    }
    return false;
}

// The calling thread's earliest timer, or end.
std::map<TimerId, Timer>::iterator EarliestOwnTimer(TimerState& state) ORVIK_REQUIRES(state.mutex)
{
    auto earliest = state.timers.end();
    for (auto it = state.timers.begin(); it != state.timers.end(); ++it) {
        if (it->second.owner != std::this_thread::get_id()) continue;
        if (earliest == state.timers.end() || it->second.due < earliest->second.due) earliest = it;
    }
    return earliest;
}

}  // namespace

TimerId StartThreadTimer(uint32_t intervalMs, TimerProc proc)
try {
    if (proc == nullptr) return 0;
    if (!ReapAtThreadEnd()) return OutOfMemory(TimerId{0});
    TimerState& state = State();
    MutexGuard guard(state.mutex);
    const TimerId id = state.nextId++;
    const std::chrono::milliseconds interval(intervalMs);
    state.timers[id] = Timer{std::this_thread::get_id(), interval, Clock::now() + interval, proc};
    return id;
} catch (const std::bad_alloc&) {
    return OutOfMemory(TimerId{0});
}

bool StopThreadTimer(TimerId id)
{
    TimerState& state = State();
    MutexLock lock(state.mutex);
    if (state.timers.erase(id) == 0) return false;
    // A call of the procedure under way on another thread is waited for, so
    // that nothing of the timer runs once this returns.
    while (FiringElsewhere(state, id)) state.changed.wait(lock.native());
    return true;
}

bool ThreadTimerIsRunning(TimerId id)
{
    TimerState& state = State();
    MutexGuard guard(state.mutex);
    return state.timers.count(id) != 0;
}

void DispatchMessagesFor(uint32_t milliseconds)
{
    TimerState& state = State();
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
    MutexLock lock(state.mutex);
    for (;;) {
        const Clock::time_point now = Clock::now();
        auto timer = EarliestOwnTimer(state);
        if (timer != state.timers.end() && timer->second.due <= now) {
            const TimerId id = timer->first;
            const TimerProc proc = timer->second.proc;
            timer->second.due = now + timer->second.interval;
            const FiringScope<TimerState, MutexLock, std::thread::id> firing(state, lock, std::this_thread::get_id(), id);
            lock.unlock();
            proc(nullptr, kTimerMessage, id, TickCount());
            lock.lock();
            continue;
        }
        if (now >= deadline) return;
        const Clock::time_point wake =
            timer != state.timers.end() && timer->second.due < deadline ? timer->second.due : deadline;
        state.changed.wait_until(lock.native(), wake);
    }
}

}  // namespace Platform
}  // namespace Orvik
