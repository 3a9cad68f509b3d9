// Thread timers: each belongs to the thread that started it and fires only
// inside that thread's DispatchMessagesFor, as window-less timers do on
// Windows. Ticks missed while the thread was busy coalesce into one.

#include "orvik/platform/thread_timer.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

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

struct TimerState {
    std::mutex mutex;
    std::condition_variable changed;
    std::map<TimerId, Timer> timers;
    std::map<std::thread::id, TimerId> firing;  // procedures being called
    TimerId nextId = 1;
};

TimerState& State()
{
    static TimerState* state = new TimerState;  // outlives every thread's exit
    return *state;
}

uint32_t TickCount()
{
    const auto sinceStart = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch());
    return static_cast<uint32_t>(sinceStart.count());
}

// A thread's timers end with the thread.
struct ThreadTimersReaper {
    ~ThreadTimersReaper()
    {
        TimerState& state = State();
        std::lock_guard<std::mutex> guard(state.mutex);
        for (auto it = state.timers.begin(); it != state.timers.end();) {
            it = it->second.owner == std::this_thread::get_id() ? state.timers.erase(it) : std::next(it);
        }
    }
};

// The calling thread's earliest timer, or end.
std::map<TimerId, Timer>::iterator EarliestOwnTimer(TimerState& state)
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
{
    if (proc == nullptr) return 0;
    static thread_local ThreadTimersReaper reaper;
    (void)reaper;
    TimerState& state = State();
    std::lock_guard<std::mutex> guard(state.mutex);
    const TimerId id = state.nextId++;
    const std::chrono::milliseconds interval(intervalMs);
    state.timers[id] = Timer{std::this_thread::get_id(), interval, Clock::now() + interval, proc};
    return id;
}

bool StopThreadTimer(TimerId id)
{
    TimerState& state = State();
    std::unique_lock<std::mutex> lock(state.mutex);
    if (state.timers.erase(id) == 0) return false;
    // A call of the procedure under way on another thread is waited for, so
    // that nothing of the timer runs once this returns.
    state.changed.wait(lock, [&] {
        for (const auto& entry : state.firing) {
            if (entry.second == id && entry.first != std::this_thread::get_id()) return false;
        }
        return true;
    });
    return true;
}

bool ThreadTimerIsRunning(TimerId id)
{
    TimerState& state = State();
    std::lock_guard<std::mutex> guard(state.mutex);
    return state.timers.count(id) != 0;
}

void DispatchMessagesFor(uint32_t milliseconds)
{
    TimerState& state = State();
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
    std::unique_lock<std::mutex> lock(state.mutex);
    for (;;) {
        const Clock::time_point now = Clock::now();
        auto timer = EarliestOwnTimer(state);
        if (timer != state.timers.end() && timer->second.due <= now) {
            const TimerId id = timer->first;
            const TimerProc proc = timer->second.proc;
            timer->second.due = now + timer->second.interval;
            state.firing[std::this_thread::get_id()] = id;
            lock.unlock();
            proc(nullptr, kTimerMessage, id, TickCount());
            lock.lock();
            state.firing.erase(std::this_thread::get_id());
            state.changed.notify_all();
            continue;
        }
        if (now >= deadline) return;
        const Clock::time_point wake =
            timer != state.timers.end() && timer->second.due < deadline ? timer->second.due : deadline;
        state.changed.wait_until(lock, wake);
    }
}

}  // namespace Platform
}  // namespace Orvik
