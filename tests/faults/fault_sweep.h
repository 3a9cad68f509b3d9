#pragma once
// The sweep: every fault point of a scenario (or an even sample of them),
// each in a process of its own, judged by how the process ended and by what
// it reported.

#include <cstdint>
#include <string>
#include <vector>

namespace Orvik {
namespace Faults {

struct SweepOptions {
    std::vector<std::string> scenarios;
    // At most this many points per scenario, spread evenly; 0 for all.
    uint64_t budget = 0;
    int jobs = 1;
    int timeoutSeconds = 60;
    // Print every point's findings, not only the bad ones.
    bool verbose = false;
};

// Runs the sweep and prints its figures; true when no point went wrong.
bool RunSweep(const std::string& program, const SweepOptions& options);

}  // namespace Faults
}  // namespace Orvik
