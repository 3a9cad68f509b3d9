#include "tools/request_trace.h"

#include <cstdio>

namespace Orvik {
namespace Tools {

namespace {

const char* KindName(uint32_t kind)
{
    switch (kind) {
    case kOrvikTraceLoad: return "load";
    case kOrvikTraceReload: return "reload";
    case kOrvikTraceLoadFailed: return "load-failed";
    case kOrvikTraceIdleNotice: return "idle";
    case kOrvikTraceUnloadAsked: return "unload-asked";
    case kOrvikTraceUnloadRefused: return "unload-refused";
    case kOrvikTraceUnloadDone: return "unload-done";
    case kOrvikTraceRoute: return "route";
    }
    return "unknown";
}

const char* RouteName(uint32_t route)
{
    switch (route) {
    case kOrvikRouteRegistered: return "registered";
    case kOrvikRouteSection: return "section";
    case kOrvikRouteScan: return "scanned-module";
    case kOrvikRouteDefault: return "default-module";
    case kOrvikRouteNothing: return "nothing";
    }
    return "";
}

const char* RefusalText(uint32_t detail)
{
    switch (detail) {
    case kOrvikRefusedCreating: return "a creation through it is under way";
    case kOrvikRefusedNoExport: return "no OrvikDllCanUnloadNow";
    case kOrvikRefusedModuleBusy: return "OrvikDllCanUnloadNow answered 0";
    }
    return "";
}

std::string CatalogName(const std::string& configPath) { return configPath.empty() ? "the default catalog" : configPath; }

}  // namespace

void TraceRecorder::OnTrace(const OrvikTraceEvent* event)
{
    const Platform::MutexGuard lock(mutex_);
    entries_.push_back({event->kind, event->route, event->detail, event->error, event->threadId,
                        event->timeMicroseconds, event->componentId, event->configPath, event->modulePath});
}

std::vector<TraceEntry> TraceRecorder::Entries()
{
    const Platform::MutexGuard lock(mutex_);
    return entries_;
}

void PrintTrace(std::ostream& out, const std::vector<TraceEntry>& trace)
{
    for (const TraceEntry& entry : trace) {
        char when[32] = {};
        std::snprintf(when, sizeof when, "%9.3f ms",
                      static_cast<double>(entry.timeMicroseconds - trace.front().timeMicroseconds) / 1000.0);
        out << "  " << when << "  thread " << entry.threadId << "  " << KindName(entry.kind) << ' ';
        switch (entry.kind) {
        case kOrvikTraceRoute:
            out << entry.componentId << " by " << RouteName(entry.route);
            if (entry.route != kOrvikRouteRegistered) out << " of " << CatalogName(entry.configPath);
            if (!entry.modulePath.empty()) out << ": " << entry.modulePath;
            break;
        case kOrvikTraceLoadFailed:
            out << entry.modulePath << " (error " << entry.error << ')';
            break;
        case kOrvikTraceUnloadRefused:
            out << entry.modulePath << " (" << RefusalText(entry.detail) << ')';
            break;
        default:
            out << entry.modulePath;
        }
        out << '\n';
    }
}

void WriteTrace(JsonWriter& json, const std::vector<TraceEntry>& trace)
{
    json.Key("trace").BeginArray();
    for (const TraceEntry& entry : trace) {
        json.BeginObject()
            .Field("event", KindName(entry.kind))
            .Field("thread", entry.threadId)
            .Field("timeMicroseconds", entry.timeMicroseconds)
            .Field("config", entry.configPath)
            .Field("module", entry.modulePath);
        if (entry.kind == kOrvikTraceRoute) json.Field("id", entry.componentId).Field("route", RouteName(entry.route));
        if (entry.kind == kOrvikTraceLoadFailed) json.Field("error", entry.error);
        if (entry.kind == kOrvikTraceUnloadRefused) json.Field("why", RefusalText(entry.detail));
        json.EndObject();
    }
    json.EndArray();
}

}  // namespace Tools
}  // namespace Orvik
