// orvik_timing: the request paths and the idle cycle beside their floors,
// for Windows (run under Wine by scripts/run-windows-timing.sh). Figures
// only, without targets: Wine is not Windows. Each row is timed in turns
// with its floor, a batch of each per round, and the medians of the rounds
// are printed; every answer is checked as in the benchmark suite.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "bench/operations.h"

namespace {

using namespace Orvik::Bench;

constexpr int kRounds = 9;

struct Row {
    const char* label;
    Work work;
    Work floor;
    int batch;
};

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Nanoseconds per operation of a batch; negative when an answer was wrong.
double TimeBatch(World& world, Work work, int batch)
{
    const auto start = std::chrono::steady_clock::now();
    const bool right = work(world, 0, batch) == 0;
    const std::chrono::duration<double, std::nano> elapsed = std::chrono::steady_clock::now() - start;
    return right ? elapsed.count() / batch : -1;
}

}  // namespace

int main()
{
    World& world = World::Get();
    if (!world.error().empty()) {
        std::fprintf(stderr, "orvik_timing: %s\n", world.error().c_str());
        return 1;
    }
    const Row rows[] = {
        {"framework's in-module component / in-module floor", OrvikInModule, InModuleFloor, 20000},
        {"framework's cross-module component / cross-module floor", OrvikCrossModule, CrossModuleFloor, 20000},
        {"three export lookups (FindExport) / three loader lookups", OrvikLookups, LoaderLookupsFloor, 20000},
        {"section-module request (TOrvikPtr) / (cross-module floor + loader lookups)", RequestSection,
         CrossModuleAndLookupsFloor, 20000},
        {"scanned-module request (TOrvikPtr) / cross-module floor", RequestScanned, CrossModuleFloor, 20000},
        {"registered-instance request (TOrvikPtr) / in-module floor", RequestShared, InModuleFloor, 20000},
        {"idle scanned module, request (TOrvikPtr) / loader's idle cycle", RequestIdleScanned, IdleCycleFloor, 2000},
        {"idle section module, request (TOrvikPtr) / loader's idle cycle", RequestIdleSection, IdleCycleFloor, 2000},
    };
    const size_t linesBefore = world.debugLines();
    bool allRight = true;
    std::printf("| figure | request | floor | ratio |\n|---|---|---|---|\n");
    for (const Row& row : rows) {
        std::vector<double> work, floor, ratio;
        for (int round = 0; round < kRounds; ++round) {
            work.push_back(TimeBatch(world, row.work, row.batch));
            floor.push_back(TimeBatch(world, row.floor, row.batch));
            ratio.push_back(work.back() / floor.back());
            if (work.back() < 0 || floor.back() < 0) allRight = false;
        }
        std::printf("| %s | %.1f ns | %.1f ns | %.2f |\n", row.label, Median(work), Median(floor), Median(ratio));
    }
    const bool quiet = world.debugLines() == linesBefore;
    if (!quiet) std::fprintf(stderr, "orvik_timing: debugger line: %s", world.lastDebugLine().c_str());
    const std::vector<std::string> lines = world.TearDown();
    for (const std::string& line : lines) std::fprintf(stderr, "orvik_timing: at shutdown: %s", line.c_str());
    if (!allRight) std::fprintf(stderr, "orvik_timing: an answer came from the wrong module or none\n");
    return allRight && quiet && lines.empty() ? 0 : 1;
}
