// A module that reports what the platform layer shows it: built twice, as
// probe_a.dll and probe_b.dll, to see that both share one platform state.

#include <atomic>

#include "orvik/platform/debug_output.h"
#include "orvik/platform/module_loader.h"
#include "platform/multibyte.h"
#include "orvik/platform/thread_timer.h"

#if defined(_WIN32)
#define PROBE_EXPORT extern "C" __declspec(dllexport)
#else
#define PROBE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace {
std::atomic<int> g_loads{0};
std::atomic<int> g_ticks{0};

void CountTick(void*, uint32_t, Orvik::Platform::TimerId, uint32_t) { ++g_ticks; }
}  // namespace

PROBE_EXPORT void* ProbeSelfHandle() { return Orvik::Platform::ModuleContainingAddress(&g_loads); }
// Counts calls since the module was loaded: a fresh load starts at 1.
PROBE_EXPORT int ProbeCountCall() { return ++g_loads; }
PROBE_EXPORT int ProbeSelectCodePage(int codePage) { return Orvik::Platform::SelectCodePage(codePage); }
PROBE_EXPORT int ProbeIsLeadByte(int byte) { return Orvik::Platform::IsLeadByte(static_cast<unsigned char>(byte)); }
PROBE_EXPORT void ProbeWriteDebug(const char* text) { Orvik::Platform::WriteDebugString(text); }
PROBE_EXPORT uintptr_t ProbeStartTimer(unsigned milliseconds)
{
    return Orvik::Platform::StartThreadTimer(milliseconds, CountTick);
}
PROBE_EXPORT int ProbeTicks() { return g_ticks; }
// Loads through this module's own copy of the platform layer.
PROBE_EXPORT int ProbeLoadFails(const char* path) { return Orvik::Platform::LoadModule(path) == nullptr; }
