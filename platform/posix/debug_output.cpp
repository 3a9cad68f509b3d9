#include "orvik/platform/debug_output.h"

#include <signal.h>
#include <unistd.h>

#include <cstring>

#include "platform/mutex.h"

namespace Orvik {
namespace Platform {

namespace {

struct SinkState {
    Mutex mutex;
    DebugSink sink ORVIK_GUARDED_BY(mutex) = nullptr;
    void* context ORVIK_GUARDED_BY(mutex) = nullptr;
};

SinkState& State()
{
    static SinkState state;
    return state;
}

}  // namespace

void WriteDebugString(const char* text)
{
    if (text == nullptr) return;
    SinkState& state = State();
    DebugSink sink;
    void* context;
    {
        MutexGuard guard(state.mutex);
        sink = state.sink;
        context = state.context;
    }
    if (sink != nullptr) {
        sink(text, context);
        return;
    }
    // One write, so lines of different threads do not interleave.
    const ssize_t ignored = write(STDERR_FILENO, text, std::strlen(text));
    (void)ignored;
}

void SetDebugSink(DebugSink sink, void* context)
{
    SinkState& state = State();
    MutexGuard guard(state.mutex);
    state.sink = sink;
    state.context = context;
}

void GetDebugSink(DebugSink* sink, void** context)
{
    SinkState& state = State();
    MutexGuard guard(state.mutex);
    if (sink != nullptr) *sink = state.sink;
    if (context != nullptr) *context = state.context;
}

void BreakIntoDebugger() { raise(SIGTRAP); }

}  // namespace Platform
}  // namespace Orvik
