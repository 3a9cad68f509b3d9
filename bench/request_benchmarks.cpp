// The in-process benchmarks: the floors, the export lookups and the
// requests, each timed per operation of the client module, each request
// with its floor. Every
// operation's answer is checked: a component from the wrong module, none
// at all, or a debugger line (the framework's error report) fails the
// benchmark.

#include <benchmark/benchmark.h>

#include <cmath>
#include <ctime>

#include "bench/bench_names.h"

namespace Orvik::Bench {

namespace {

using Operation = int32_t (IBenchClient::*)(int32_t);

// The world crowded as asked, or null after failing the benchmark.
World* Prepare(benchmark::State& state, const Crowding& crowding)
{
    World& world = World::Get();
    const std::string failure = world.CrowdAtLeastTo(crowding);
    if (!failure.empty()) {
        state.SkipWithError(failure.c_str());
        return nullptr;
    }
    return &world;
}

void Finish(benchmark::State& state, const World& world, size_t linesBefore, int64_t wrongAnswers)
{
    if (wrongAnswers != 0) {
        state.SkipWithError((std::to_string(wrongAnswers) + " answers came from the wrong module or none").c_str());
    } else if (world.debugLines() != linesBefore) {
        state.SkipWithError(("debugger line: " + world.lastDebugLine()).c_str());
    }
}

// Each request is compared with its floor, timed in turns with it: a batch
// of requests, then as many operations of the floor, and so on. On a shared
// machine the speed of a core drifts within a second, so a floor timed even
// right after all the requests may see another machine than they did.
//
// The drift does not slow every operation alike: on the machine these
// benchmarks were written on, making and freeing a component slowed by half
// as much again as a request that makes nothing. Such a request is therefore
// also timed against a gauge that makes nothing either, a call of a held
// component, and its crowding comparison is drawn against that gauge.
enum class Floor { None, InModule, CrossModule, CrossModuleAndLookups, HeldCall };

double SecondsSince(std::clock_t start) { return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC; }

// Processor seconds for a batch of the floor; NaN when it answered wrong.
double TimeFloorBatch(World& world, Floor floor)
{
    IBenchClient* client = world.client();
    const Platform::ModuleHandle module = world.sectionModule();
    int64_t wrong = 0;
    const std::clock_t start = std::clock();
    for (int32_t x = 0; x < kRequestBatch; ++x) {
        if (floor == Floor::InModule) {
            wrong += client->InModuleFloor(x) != x + kClientTag;
        } else if (floor == Floor::HeldCall) {
            wrong += client->HeldCall(x) != x + kScannedTag;
        } else {
            wrong += client->CrossModuleFloor(x) != x + kScannedTag;
            if (floor == Floor::CrossModuleAndLookups) wrong += client->ExportLookups(module) != 3;
        }
    }
    const double seconds = SecondsSince(start);
    return wrong == 0 ? seconds : NAN;
}

// A floor on its own: the time per operation.
void MeasureFloor(benchmark::State& state, Operation operation, int32_t tag, Crowding crowding)
{
    World* world = Prepare(state, crowding);
    if (world == nullptr) return;
    IBenchClient* client = world->client();
    const size_t lines = world->debugLines();
    int64_t wrong = 0;
    int32_t x = 0;
    for (auto _ : state) {
        wrong += (client->*operation)(x) != x + tag;
        x = (x + 1) & 0xFFFF;
    }
    Finish(state, *world, lines, wrong);
}

// A request against its floor: the time of a batch of requests, the counter
// kFloorSeconds the time of a batch of the floor and, with a gauge, the
// counter kGaugeSeconds that of a batch of the gauge.
void MeasureOperation(benchmark::State& state, Operation operation, int32_t tag, Crowding crowding, Floor floor,
                      Floor gauge)
{
    World* world = Prepare(state, crowding);
    if (world == nullptr) return;
    IBenchClient* client = world->client();
    const size_t lines = world->debugLines();
    int64_t wrong = 0;
    double floorSeconds = 0, gaugeSeconds = 0;
    for (auto _ : state) {
        const std::clock_t start = std::clock();
        for (int32_t x = 0; x < kRequestBatch; ++x) wrong += (client->*operation)(x) != x + tag;
        state.SetIterationTime(SecondsSince(start));
        floorSeconds += TimeFloorBatch(*world, floor);
        if (gauge != Floor::None) gaugeSeconds += TimeFloorBatch(*world, gauge);
    }
    if (std::isnan(floorSeconds) || std::isnan(gaugeSeconds)) {
        state.SkipWithError("the floor's answers came from the wrong module or none");
        return;
    }
    state.counters[kFloorSeconds] = benchmark::Counter(floorSeconds, benchmark::Counter::kAvgIterations);
    if (gauge != Floor::None) {
        state.counters[kGaugeSeconds] = benchmark::Counter(gaugeSeconds, benchmark::Counter::kAvgIterations);
    }
    state.SetItemsProcessed(state.iterations() * kRequestBatch);
    Finish(state, *world, lines, wrong);
}

// The registered instance must be the one answered, and stay registered.
void MeasureRegistered(benchmark::State& state, Operation operation, Crowding crowding)
{
    World* world = Prepare(state, crowding);
    if (world == nullptr) return;
    MeasureOperation(state, operation, kSharedTag, crowding, Floor::InModule, Floor::HeldCall);
    if (state.error_occurred()) return;
    IOrvikComponentFactory* factory = world->factory();
    if (factory->CreateComponentByID(kSharedId, nullptr) != world->sharedInstance() ||
        factory->IsRegisteredInstance(world->sharedInstance()) != 1) {
        state.SkipWithError("the registered instance was replaced or dropped");
    }
}

void MeasureLookups(benchmark::State& state, Crowding crowding)
{
    World* world = Prepare(state, crowding);
    if (world == nullptr) return;
    IBenchClient* client = world->client();
    const Platform::ModuleHandle module = world->sectionModule();
    const size_t lines = world->debugLines();
    int64_t wrong = 0;
    for (auto _ : state) wrong += client->ExportLookups(module) != 3;
    Finish(state, *world, lines, wrong);
}

void AddFloor(const char* base, Operation operation, int32_t tag)
{
    benchmark::RegisterBenchmark(NameAt(base, kQuiet).c_str(), MeasureFloor, operation, tag, kQuiet);
}

void AddOperation(const char* base, Operation operation, int32_t tag, Crowding crowding, Floor floor)
{
    benchmark::RegisterBenchmark(NameAt(base, crowding).c_str(), MeasureOperation, operation, tag, crowding, floor,
                                 Floor::None)
        ->UseManualTime();
}

void AddRegistered(const char* base, Operation operation, Crowding crowding)
{
    benchmark::RegisterBenchmark(NameAt(base, crowding).c_str(), MeasureRegistered, operation, crowding)
        ->UseManualTime();
}

void AddLookups(Crowding crowding)
{
    benchmark::RegisterBenchmark(NameAt(kExportLookups, crowding).c_str(), MeasureLookups, crowding);
}

}  // namespace

// Registered in the order they run: the process only grows more crowded.
// The two sides of a comparison under different crowding run one right
// after the other, so that both see the machine alike.
void RegisterRequestBenchmarks()
{
    AddFloor(kInModuleFloor, &IBenchClient::InModuleFloor, kClientTag);
    AddFloor(kCrossModuleFloor, &IBenchClient::CrossModuleFloor, kScannedTag);
    AddLookups(kQuiet);
    AddOperation(kScannedPtr, &IBenchClient::ScannedRequest, kScannedTag, kQuiet, Floor::CrossModule);
    AddOperation(kScannedDirect, &IBenchClient::ScannedDirect, kScannedTag, kQuiet, Floor::CrossModule);
    AddRegistered(kRegisteredPtr, &IBenchClient::SharedRequest, kQuiet);
    AddRegistered(kRegisteredDirect, &IBenchClient::SharedDirect, kQuiet);
    AddOperation(kSectionDirect, &IBenchClient::SectionDirect, kSectionTag, kQuiet, Floor::CrossModuleAndLookups);
    AddOperation(kSectionPtr, &IBenchClient::SectionRequest, kSectionTag, kQuiet, Floor::CrossModuleAndLookups);

    AddOperation(kSectionPtr, &IBenchClient::SectionRequest, kSectionTag, kManyObjects, Floor::CrossModuleAndLookups);
    AddLookups(kManyObjects);
    AddOperation(kScannedPtr, &IBenchClient::ScannedRequest, kScannedTag, kManyObjects, Floor::CrossModule);
    AddRegistered(kRegisteredPtr, &IBenchClient::SharedRequest, kManyObjects);

    AddRegistered(kRegisteredPtr, &IBenchClient::SharedRequest, kManyInstances);
    AddOperation(kScannedPtr, &IBenchClient::ScannedRequest, kScannedTag, kManyInstances, Floor::CrossModule);
}

}  // namespace Orvik::Bench
