#pragma once
/// \file
/// Window-less thread timers and the per-thread message dispatch.

#include "orvik/platform/platform_api.h"

namespace Orvik {
namespace Platform {

/// A thread timer; 0 is none.
using TimerId = uintptr_t;
/// Called on the thread that started the timer while that thread dispatches
/// its messages; window is null and message the timer message.
using TimerProc = void (*)(void* window, uint32_t message, TimerId id, uint32_t time);

/// Starts a repeating timer owned by the calling thread; 0 on failure.
ORVIK_PLATFORM_API TimerId StartThreadTimer(uint32_t intervalMs, TimerProc proc);
/// Stops a timer; safe from any thread. Once it returns, the timer's
/// procedure is not called again.
ORVIK_PLATFORM_API bool StopThreadTimer(TimerId id);
/// The timer still runs: not stopped, and the thread that started it has not
/// ended (a thread's timers end with it).
ORVIK_PLATFORM_API bool ThreadTimerIsRunning(TimerId id);
/// Dispatches the calling thread's messages (timer ticks among them) for
/// about this many milliseconds.
ORVIK_PLATFORM_API void DispatchMessagesFor(uint32_t milliseconds);

}  // namespace Platform
}  // namespace Orvik
