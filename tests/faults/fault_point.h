#pragma once
// One fault point: a scenario run in its own process with its Nth counted
// call made to fail, and what came of it.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/faults/failure_lines.h"
#include "tests/faults/fault_world.h"

namespace Orvik {
namespace Faults {

class Point {
public:
    // failAt 0 runs the scenario without a fault and counts its calls.
    explicit Point(uint64_t failAt) : failAt_(failAt) {}

    // Runs the part of the scenario the fault may hit; every line it writes
    // must be a failure line with the right error number.
    void Armed(const std::function<void()>& part);
    // The lines written since the armed part (or the last call) must be
    // none: outside the armed part nothing may fail.
    void ExpectQuiet(const char* when);

    // A result the framework must not give, fault or no fault.
    void Wrong(const std::string& what);
    // After the fault, the request did not succeed again; prescribed says
    // which configuration rule keeps it so, empty when none does.
    void Unrecovered(const std::string& what, const std::string& prescribed);

    // The lines of the retries: none when every request succeeded again,
    // failure lines when one stayed failed.
    void SettleRetries();

    CallKind Failed() const { return failed_; }
    // The armed part's lines.
    const std::vector<std::string>& ArmedLines() const { return armedLines_; }
    // The failed call was a file call on this configuration file, or an
    // allocation, which may have been the one that held its text.
    bool FailedReading(const char* configFile) const;

    // What the driver reads: the calls counted, the call failed, and every
    // finding, one per line.
    void Report() const;

private:
    uint64_t failAt_;
    LineLog lines_;
    std::vector<std::string> armedLines_;
    CallKind failed_ = CallKind::None;
    uint64_t calls_ = 0;
    std::string failedCall_;
    std::vector<std::string> findings_;
    bool unrecovered_ = false;
};

// The scenarios, by their letter: the part they arm, the checks of its
// results, the retry once the fault is gone, and the end.
using Scenario = void (*)(Point& point, World& world);
Scenario FindScenario(const std::string& name);
const std::vector<std::string>& ScenarioNames();

}  // namespace Faults
}  // namespace Orvik
