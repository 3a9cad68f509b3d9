// Window-less thread timers. Windows lets only the owning thread kill such a
// timer; a stop from another thread is recorded here and the owner kills the
// timer at its next tick instead of calling the procedure. Each module keeps
// this record for the timers it started itself.

#include "orvik/platform/thread_timer.h"

#include <windows.h>

#include <condition_variable>
#include <map>
#include <mutex>

namespace Orvik {
namespace Platform {

namespace {

struct Timer {
    DWORD owner;
    // Tells when the owner has ended, and its timers with it.
    HANDLE ownerThread;
    TimerProc proc;
    bool stopped;
};

struct TimerState {
    std::mutex mutex;
    std::condition_variable changed;
    std::map<TimerId, Timer> timers;
    std::map<DWORD, TimerId> firing;  // owner thread -> timer being called
};

TimerState& State()
{
    static TimerState* state = new TimerState;  // outlives every thread's exit
    return *state;
}

// Drops the record of a timer; the system's timer is gone or killed.
void Forget(TimerState& state, std::map<TimerId, Timer>::iterator timer)
{
    CloseHandle(timer->second.ownerThread);
    state.timers.erase(timer);
}

void CALLBACK Tick(HWND window, UINT message, UINT_PTR id, DWORD time)
{
    TimerState& state = State();
    std::unique_lock<std::mutex> lock(state.mutex);
    auto timer = state.timers.find(id);
    if (timer == state.timers.end()) return;
    if (timer->second.stopped) {
        KillTimer(nullptr, id);
        Forget(state, timer);
        return;
    }
    const TimerProc proc = timer->second.proc;
    state.firing[GetCurrentThreadId()] = id;
    lock.unlock();
    proc(window, message, id, time);
    lock.lock();
    state.firing.erase(GetCurrentThreadId());
    state.changed.notify_all();
}

}  // namespace

TimerId StartThreadTimer(uint32_t intervalMs, TimerProc proc)
{
    if (proc == nullptr) return 0;
    TimerState& state = State();
    std::lock_guard<std::mutex> guard(state.mutex);
    HANDLE self = nullptr;
    if (!DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &self, SYNCHRONIZE, FALSE, 0)) {
        return 0;
    }
    const UINT_PTR id = SetTimer(nullptr, 0, intervalMs, Tick);
    if (id == 0) {
        CloseHandle(self);
        return 0;
    }
    // A record left by an ended thread may carry the same id.
    auto stale = state.timers.find(id);
    if (stale != state.timers.end()) Forget(state, stale);
    state.timers[id] = Timer{GetCurrentThreadId(), self, proc, false};
    return id;
}

bool StopThreadTimer(TimerId id)
{
    TimerState& state = State();
    std::unique_lock<std::mutex> lock(state.mutex);
    auto timer = state.timers.find(id);
    // Another module's timer: only the system knows it, and its owner may stop it.
    if (timer == state.timers.end()) return KillTimer(nullptr, id) != FALSE;
    if (timer->second.stopped) return false;
    const DWORD self = GetCurrentThreadId();
    if (timer->second.owner == self) {
        KillTimer(nullptr, id);
        Forget(state, timer);
        return true;
    }
    if (WaitForSingleObject(timer->second.ownerThread, 0) == WAIT_OBJECT_0) {
        // The owner has ended, and its timer with it.
        Forget(state, timer);
        return true;
    }
    timer->second.stopped = true;
    const DWORD owner = timer->second.owner;  // the owner's next tick erases the entry
    state.changed.wait(lock, [&] {
        auto calling = state.firing.find(owner);
        return calling == state.firing.end() || calling->second != id;
    });
    return true;
}

bool ThreadTimerIsRunning(TimerId id)
{
    TimerState& state = State();
    std::lock_guard<std::mutex> guard(state.mutex);
    auto timer = state.timers.find(id);
    if (timer == state.timers.end() || timer->second.stopped) return false;
    if (WaitForSingleObject(timer->second.ownerThread, 0) != WAIT_OBJECT_0) return true;
    Forget(state, timer);
    return false;
}

void DispatchMessagesFor(uint32_t milliseconds)
{
    const ULONGLONG deadline = GetTickCount64() + milliseconds;
    for (;;) {
        MSG message;
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageA(&message);
        }
        const ULONGLONG now = GetTickCount64();
        if (now >= deadline) return;
        MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(deadline - now), QS_ALLINPUT);
    }
}

}  // namespace Platform
}  // namespace Orvik
