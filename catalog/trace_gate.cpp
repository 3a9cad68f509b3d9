#include "catalog/trace_gate.h"

#include <thread>

#include "platform/mutex.h"
#include "platform/trace_clock.h"

namespace Orvik {
namespace Trace {

std::atomic<IOrvikTraceSink*> g_sink{nullptr};

namespace {

// Calls into a sink under way, counted before the sink is read, so that a
// removal that finds none left knows every later call sees the new sink.
std::atomic<uint32_t> g_inFlight{0};
// Lets one installation at a time wait for the calls into the previous sink.
Platform::Mutex g_installing;
// The threads inside a sink (0 marks a free place), so that one of them
// asking to change the sink is refused instead of waiting for itself. No
// thread_local: its first use in a module loaded at run time needs memory.
std::atomic<uint64_t> g_callers[64];

std::atomic<uint64_t>* EnterCaller(uint64_t thread)
{
    for (std::atomic<uint64_t>& place : g_callers) {
        uint64_t free = 0;
        if (place.compare_exchange_strong(free, thread)) return &place;
    }
    return nullptr;
}

bool IsCaller(uint64_t thread)
{
    for (const std::atomic<uint64_t>& place : g_callers) {
        if (place.load() == thread) return true;
    }
    return false;
}

void Emit(OrvikTraceEvent& event)
{
    g_inFlight.fetch_add(1);
    if (IOrvikTraceSink* sink = g_sink.load()) {
        event.threadId = Platform::CurrentThreadId();
        event.timeMicroseconds = Platform::CurrentTimeMicroseconds();
        std::atomic<uint64_t>* caller = EnterCaller(event.threadId);
        // The sink is another module's code; nothing it throws gets further.
        try {
            sink->OnTrace(&event);
        } catch (...) {
        }
        if (caller != nullptr) caller->store(0);
    }
    g_inFlight.fetch_sub(1);
}

}  // namespace

void Module(uint32_t kind, Platform::ModuleHandle module, const char* configPath, const char* modulePath,
            uint32_t error, uint32_t detail)
{
    // A null path is the loader's name for the module.
    const std::string path = modulePath == nullptr ? ModulePath(module) : std::string();
    OrvikTraceEvent event{kind, 0, detail, error, 0, 0, 0, module, configPath != nullptr ? configPath : "",
                          modulePath != nullptr ? modulePath : path.c_str()};
    Emit(event);
}

std::string ModulePath(Platform::ModuleHandle module)
{
    if (module == nullptr || module == Platform::InvalidModule()) return "";
    char path[Platform::kMaxPath] = {};
    const uint32_t lastError = Platform::GetLastErrorCode();
    Platform::GetModuleFilePath(module, path, sizeof path);
    Platform::SetLastErrorCode(lastError);
    return path;
}

void Route(uint32_t route, ComponentId id, const char* configPath, const char* modulePath)
{
    OrvikTraceEvent event{kOrvikTraceRoute, route, 0, 0, 0, 0, id, nullptr, configPath != nullptr ? configPath : "",
                          modulePath != nullptr ? modulePath : ""};
    Emit(event);
}

bool Install(IOrvikTraceSink* sink)
{
    // Waiting for itself would never end.
    if (IsCaller(Platform::CurrentThreadId())) return false;
    const Platform::MutexGuard installing(g_installing);
    g_sink.store(sink);
    while (g_inFlight.load() != 0) std::this_thread::yield();
    return true;
}

}  // namespace Trace
}  // namespace Orvik
