// The fault host.
//   fault_host sweep [--budget N] [--jobs N] [--timeout S] [--verbose] [SCENARIO...]
//     runs every point of the scenarios (a to f; all by default), each in a
//     process of its own, or N of them spread evenly, and prints the figures;
//     exits with 1 when a point went wrong.
//   fault_host point SCENARIO N DIRECTORY
//     runs one point: the scenario with its Nth counted call failed (0: none,
//     and the calls are counted), its log files below DIRECTORY.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/faults/fault_point.h"
#include "tests/faults/fault_sweep.h"

namespace {

using namespace Orvik::Faults;

int RunPoint(const std::string& name, uint64_t failAt, const std::string& directory)
{
    const Scenario scenario = FindScenario(name);
    if (scenario == nullptr) return 2;
    Point point(failAt);
    World world(directory);
    scenario(point, world);
    point.SettleRetries();
    if (name != "f") world.Shutdown();
    point.ExpectQuiet("while shutting down");
    // Modules that end with the factory: the client, the scanned and the
    // preloaded one. Those of sections stay, without live components.
    for (const char* module : {kClientModule, kScannedModule, kPreloadModule}) {
        if (World::IsLoaded(module)) point.Wrong(std::string(module) + " stays loaded");
    }
    for (const char* module : {kSectionModule, kSharedModule}) {
        if (World::CanUnloadNow(module) == 0) point.Wrong(std::string(module) + " keeps a live component");
    }
    point.Report();
    return 0;
}

int Usage()
{
    std::fprintf(stderr, "usage: fault_host sweep [--budget N] [--jobs N] [--timeout S] [--verbose] [SCENARIO...]\n"
                         "       fault_host point SCENARIO N DIRECTORY\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv)
{
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "point" && argc == 5) return RunPoint(argv[2], std::strtoull(argv[3], nullptr, 10), argv[4]);
    if (mode != "sweep") return Usage();
    SweepOptions options;
    for (int i = 2; i < argc; ++i) {
        const std::string argument = argv[i];
        const bool valued = i + 1 < argc;
        if (argument == "--budget" && valued) {
            options.budget = std::strtoull(argv[++i], nullptr, 10);
        } else if (argument == "--jobs" && valued) {
            options.jobs = std::max(1, std::atoi(argv[++i]));
        } else if (argument == "--timeout" && valued) {
            options.timeoutSeconds = std::atoi(argv[++i]);
        } else if (argument == "--verbose") {
            options.verbose = true;
        } else if (FindScenario(argument) != nullptr) {
            options.scenarios.push_back(argument);
        } else {
            return Usage();
        }
    }
    if (options.scenarios.empty()) options.scenarios = ScenarioNames();
    return RunSweep("/proc/self/exe", options) ? 0 : 1;
}
