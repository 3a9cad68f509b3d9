#pragma once
// The factory's trace sink and the hooks that tell it what happens. With no
// sink installed a hook reads one atomic pointer and nothing else, so the
// request path costs what it costs without a trace.

#include <atomic>
#include <string>

#include "orvik/module/factory_inspection.h"

namespace Orvik {
namespace Trace {

// The installed sink, null when none.
extern std::atomic<IOrvikTraceSink*> g_sink;

// Whether to build an event at all.
inline bool Active() { return g_sink.load(std::memory_order_relaxed) != nullptr; }

// Tells the sink, unless it was removed meanwhile, of an event about a
// module; a null modulePath is asked of the loader.
void Module(uint32_t kind, Platform::ModuleHandle module, const char* configPath, const char* modulePath,
            uint32_t error = 0, uint32_t detail = 0);
// The module's file as the loader names it, "" when it names none.
std::string ModulePath(Platform::ModuleHandle module);
// Tells the sink where the request for id went.
void Route(uint32_t route, ComponentId id, const char* configPath, const char* modulePath = "");

// Replaces the sink (null removes it) and returns once no call into the
// previous one is under way. False, changing nothing, from inside a sink.
bool Install(IOrvikTraceSink* sink);

}  // namespace Trace
}  // namespace Orvik
