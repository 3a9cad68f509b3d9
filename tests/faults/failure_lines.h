#pragma once
// The debugger lines a request may write when it fails, and the error
// number such a line should carry for the kind of call that failed.

#include <string>
#include <vector>

#include "tests/faults/fault_injector.h"

namespace Orvik {
namespace Faults {

// Collects every debugger line of the process, without counting the
// allocations that keeping them takes.
class LineLog {
public:
    LineLog();
    ~LineLog();
    LineLog(const LineLog&) = delete;
    LineLog& operator=(const LineLog&) = delete;

    // The lines written since the last call.
    std::vector<std::string> Take();

private:
    static void Collect(const char* text, void* self);
    std::vector<std::string> lines_;
};

// Why a line is not one a failed request may write; empty when it is. A
// line naming a module and an error number must carry the number Windows
// gives for the failed call: 8 for memory, 1117 for a device error, 4 for
// too many open files, 112 for a full disk.
std::string JudgeFailureLine(const std::string& line, CallKind failed);

// Whether a line reports a module of the "dlls" list that did not load in
// the scan: the one failure a catalog of a configuration path keeps.
bool IsScanFailure(const std::string& line, const char* module);

}  // namespace Faults
}  // namespace Orvik
