#include "orvik/platform/debug_output.h"

#include <windows.h>

namespace Orvik {
namespace Platform {

namespace {

// The sink sees the debugger output of every module: OutputDebugStringA
// raises DBG_PRINTEXCEPTION_C, which a vectored handler receives first.
// Guarded by a slim lock of the system's rather than a standard mutex, which
// would bring the run-time's error classes into every module.
struct SinkState {
    SRWLOCK lock = SRWLOCK_INIT;
    DebugSink sink = nullptr;
    void* context = nullptr;
    PVOID handler = nullptr;
};

SinkState& State()
{
    static SinkState state;
    return state;
}

LONG CALLBACK CaptureDebugString(EXCEPTION_POINTERS* exception)
{
    const EXCEPTION_RECORD* record = exception->ExceptionRecord;
    if (record->ExceptionCode != DBG_PRINTEXCEPTION_C || record->NumberParameters < 2) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    SinkState& state = State();
    DebugSink sink;
    void* context;
    AcquireSRWLockShared(&state.lock);
    sink = state.sink;
    context = state.context;
    ReleaseSRWLockShared(&state.lock);
    if (sink == nullptr) return EXCEPTION_CONTINUE_SEARCH;
    sink(reinterpret_cast<const char*>(record->ExceptionInformation[1]), context);
    return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

void WriteDebugString(const char* text)
{
    if (text != nullptr) OutputDebugStringA(text);
}

void SetDebugSink(DebugSink sink, void* context)
{
    SinkState& state = State();
    AcquireSRWLockExclusive(&state.lock);
    state.sink = sink;
    state.context = context;
    if (sink != nullptr && state.handler == nullptr) {
        state.handler = AddVectoredExceptionHandler(1, CaptureDebugString);
    } else if (sink == nullptr && state.handler != nullptr) {
        RemoveVectoredExceptionHandler(state.handler);
        state.handler = nullptr;
    }
    ReleaseSRWLockExclusive(&state.lock);
}

void GetDebugSink(DebugSink* sink, void** context)
{
    SinkState& state = State();
    AcquireSRWLockShared(&state.lock);
    if (sink != nullptr) *sink = state.sink;
    if (context != nullptr) *context = state.context;
    ReleaseSRWLockShared(&state.lock);
}

void BreakIntoDebugger() { DebugBreak(); }

}  // namespace Platform
}  // namespace Orvik
