// Window-less thread timers. Windows lets only the owning thread kill such a
// timer; a stop from another thread is recorded here and the owner kills the
// timer at its next tick instead of calling the procedure. Each module keeps
// this record for the timers it started itself.

#include "orvik/platform/thread_timer.h"

#include <windows.h>

#include <condition_variable>
#include <map>
#include <mutex>
#include <new>

#include "platform/timer_firing.h"

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

using Firing = TimerFiring<DWORD>;

struct TimerState {
    std::mutex mutex;
    std::condition_variable changed;
    std::map<TimerId, Timer> timers;
    Firing* firing = nullptr;  // procedures being called
};

TimerState& State()
{
    // Never destroyed: it outlives every thread's exit. Made in place, it
    // needs no memory that could fail to come.
    alignas(TimerState) static unsigned char storage[sizeof(TimerState)];
    static TimerState* const state = new (storage) TimerState;
    return *state;
}

// The thread is calling the timer's procedure.
bool IsFiring(const TimerState& state, DWORD thread, TimerId id)
{
    for (const Firing* call = state.firing; call != nullptr; call = call->next) {
        if (call->thread == thread && call->id == id) return true;
    }
    return false;
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
    const FiringScope<TimerState, std::unique_lock<std::mutex>, DWORD> firing(state, lock, GetCurrentThreadId(), id);
    lock.unlock();
    proc(window, message, id, time);
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
    try {
        state.timers.emplace(id, Timer{GetCurrentThreadId(), self, proc, false});
    } catch (const std::bad_alloc&) {
        KillTimer(nullptr, id);
        CloseHandle(self);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
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
    state.changed.wait(lock, [&] { return !IsFiring(state, owner, id); });
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
