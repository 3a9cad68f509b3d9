#pragma once
// The factory's trace of one request, as orvik create shows it: a sink that
// keeps every event, and the events as text and as JSON.

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "orvik/module/factory_inspection.h"
#include "platform/mutex.h"
#include "tools/json_writer.h"

namespace Orvik {
namespace Tools {

// One event, with its text copied.
struct TraceEntry {
    uint32_t kind;
    uint32_t route;
    uint32_t detail;
    uint32_t error;
    uint64_t threadId;
    uint64_t timeMicroseconds;
    ComponentId componentId;
    std::string configPath;
    std::string modulePath;
};

// Copies each event; the factory may call it from any thread.
class TraceRecorder : public IOrvikTraceSink {
public:
    void OnTrace(const OrvikTraceEvent* event) override;
    std::vector<TraceEntry> Entries();

private:
    Platform::Mutex mutex_;
    std::vector<TraceEntry> entries_ ORVIK_GUARDED_BY(mutex_);
};

// One line per event, its time counted from the first.
void PrintTrace(std::ostream& out, const std::vector<TraceEntry>& trace);
void WriteTrace(JsonWriter& json, const std::vector<TraceEntry>& trace);

}  // namespace Tools
}  // namespace Orvik
