#include "catalog/trace_gate.h"

#include <mutex>
#include <thread>

#include "platform/trace_clock.h"

namespace Orvik {
namespace Trace {

std::atomic<IOrvikTraceSink*> g_sink{nullptr};

namespace {

// Calls into a sink under way, counted before the sink is read, so that a
// removal that finds none left knows every later call sees the new sink.
std::atomic<uint32_t> g_inFlight{0};
std::mutex g_installing;
thread_local int t_insideSink = 0;

void Emit(OrvikTraceEvent& event)
{
    g_inFlight.fetch_add(1);
    if (IOrvikTraceSink* sink = g_sink.load()) {
        event.threadId = Platform::CurrentThreadId();
        event.timeMicroseconds = Platform::CurrentTimeMicroseconds();
        ++t_insideSink;
        // The sink is another module's code; nothing it throws gets further.
        try {
            sink->OnTrace(&event);
        } catch (...) {
        }
        --t_insideSink;
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
    if (t_insideSink != 0) return false;
    const std::lock_guard<std::mutex> installing(g_installing);
    g_sink.store(sink);
    while (g_inFlight.load() != 0) std::this_thread::yield();
    return true;
}

}  // namespace Trace
}  // namespace Orvik
