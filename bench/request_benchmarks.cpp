// The in-process benchmarks: the floors, the framework's own module-side
// costs and the requests, each timed per operation, each request with its
// floor. Every operation's answer is checked: a component from the wrong
// module, none at all, or a debugger line (the framework's error report)
// fails the benchmark.

#include <benchmark/benchmark.h>

#include <cmath>
#include <ctime>

#include "bench/bench_checks.h"
#include "bench/bench_names.h"
#include "bench/operations.h"

namespace Orvik::Bench {

namespace {

double SecondsSince(std::clock_t start) { return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC; }

// Processor seconds for a batch; NaN when an answer was wrong.
double TimeBatch(World& world, Work work)
{
    const std::clock_t start = std::clock();
    const int64_t wrong = work(world, 0, kRequestBatch);
    const double seconds = SecondsSince(start);
    return wrong == 0 ? seconds : NAN;
}

// A floor on its own: the time per batch.
void MeasureFloor(benchmark::State& state, Work floor, Crowding crowding)
{
    World* world = Prepare(state, crowding);
    if (world == nullptr) return;
    const size_t lines = world->debugLines();
    int64_t wrong = 0;
    for (auto _ : state) wrong += floor(*world, 0, kRequestBatch);
    state.SetItemsProcessed(state.iterations() * kRequestBatch);
    Finish(state, *world, lines, wrong);
}

// Work against its floor, timed in turns with it: a batch of the work, then
// as many operations of the floor, and so on. On a shared machine the speed
// of a core drifts within a second, so a floor timed even right after all
// the work may see another machine than it did. The benchmark's time is a
// batch of the work, the counter kFloorSeconds a batch of the floor and,
// with a gauge, the counter kGaugeSeconds a batch of the gauge.
//
// The drift does not slow every operation alike: making and freeing a
// component slows by half as much again as a request that makes nothing.
// Such a request is therefore also timed against a gauge that makes nothing
// either, a call of a held component, and its crowding comparison is drawn
// against that gauge.
void MeasureOperation(benchmark::State& state, Work work, Crowding crowding, Work floor, Work gauge)
{
    World* world = Prepare(state, crowding);
    if (world == nullptr) return;
    const size_t lines = world->debugLines();
    int64_t wrong = 0;
    double floorSeconds = 0, gaugeSeconds = 0;
    for (auto _ : state) {
        const std::clock_t start = std::clock();
        wrong += work(*world, 0, kRequestBatch);
        state.SetIterationTime(SecondsSince(start));
        floorSeconds += TimeBatch(*world, floor);
        if (gauge != nullptr) gaugeSeconds += TimeBatch(*world, gauge);
    }
    if (std::isnan(floorSeconds) || std::isnan(gaugeSeconds)) {
        state.SkipWithError("the floor's answers came from the wrong module or none");
        return;
    }
    state.counters[kFloorSeconds] = benchmark::Counter(floorSeconds, benchmark::Counter::kAvgIterations);
    if (gauge != nullptr) {
        state.counters[kGaugeSeconds] = benchmark::Counter(gaugeSeconds, benchmark::Counter::kAvgIterations);
    }
    state.SetItemsProcessed(state.iterations() * kRequestBatch);
    Finish(state, *world, lines, wrong);
}

// The registered instance must be the one answered, and stay registered.
void MeasureRegistered(benchmark::State& state, Work work, Crowding crowding)
{
    World* world = Prepare(state, crowding);
    if (world == nullptr) return;
    MeasureOperation(state, work, crowding, InModuleFloor, HeldCall);
    if (!state.error_occurred()) CheckRegisteredInstance(state, *world);
}

void AddFloor(const char* base, Work floor, Crowding crowding = kQuiet)
{
    benchmark::RegisterBenchmark(NameAt(base, crowding).c_str(), MeasureFloor, floor, crowding);
}

void AddOperation(const char* base, Work work, Crowding crowding, Work floor)
{
    benchmark::RegisterBenchmark(NameAt(base, crowding).c_str(), MeasureOperation, work, crowding, floor, nullptr)
        ->UseManualTime();
}

void AddRegistered(const char* base, Work work, Crowding crowding)
{
    benchmark::RegisterBenchmark(NameAt(base, crowding).c_str(), MeasureRegistered, work, crowding)->UseManualTime();
}

}  // namespace

// Registered in the order they run: the process only grows more crowded.
// The two sides of a comparison under different crowding run one right
// after the other, so that both see the machine alike.
void RegisterRequestBenchmarks()
{
    AddFloor(kInModuleFloor, InModuleFloor);
    AddFloor(kCrossModuleFloor, CrossModuleFloor);
    AddFloor(kLoaderLookups, LoaderLookupsFloor);
    AddFloor(kIdleCycleFloor, IdleCycleFloor);
    AddOperation(kOrvikInModule, OrvikInModule, kQuiet, InModuleFloor);
    AddOperation(kOrvikCrossModule, OrvikCrossModule, kQuiet, CrossModuleFloor);
    AddOperation(kExportLookups, OrvikLookups, kQuiet, LoaderLookupsFloor);

    AddOperation(kScannedPtr, RequestScanned, kQuiet, CrossModuleFloor);
    AddOperation(kScannedDirect, DirectScanned, kQuiet, CrossModuleFloor);
    AddRegistered(kRegisteredPtr, RequestShared, kQuiet);
    AddRegistered(kRegisteredDirect, DirectShared, kQuiet);
    AddOperation(kSectionDirect, DirectSection, kQuiet,
                 CrossModuleAndLookupsFloor);
    AddOperation(kSectionPtr, RequestSection, kQuiet, CrossModuleAndLookupsFloor);
    AddOperation(kIdleScanned, RequestIdleScanned, kQuiet, IdleCycleFloor);
    AddOperation(kIdleSection, RequestIdleSection, kQuiet, IdleCycleFloor);

    AddOperation(kIdleScanned, RequestIdleScanned, kFiftyMoreObjects, IdleCycleFloor);
    AddOperation(kIdleSection, RequestIdleSection, kFiftyMoreObjects, IdleCycleFloor);

    AddOperation(kSectionPtr, RequestSection, kManyObjects, CrossModuleAndLookupsFloor);
    AddOperation(kExportLookups, OrvikLookups, kManyObjects, LoaderLookupsFloor);
    AddOperation(kScannedPtr, RequestScanned, kManyObjects, CrossModuleFloor);
    AddRegistered(kRegisteredPtr, RequestShared, kManyObjects);

    AddRegistered(kRegisteredPtr, RequestShared, kManyInstances);
    AddOperation(kScannedPtr, RequestScanned, kManyInstances, CrossModuleFloor);
}

}  // namespace Orvik::Bench
