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

// Each request is compared with its floor timed right after it, for as
// many operations, so that both see the machine alike: on a shared machine
// the speed of a core drifts between benchmarks further apart.
enum class Floor { None, InModule, CrossModule, CrossModuleAndLookups };

// Processor seconds per operation of the floor; NaN when it answered wrong.
double TimeFloor(World& world, Floor floor, int64_t operations)
{
    IBenchClient* client = world.client();
    const Platform::ModuleHandle module = world.sectionModule();
    int64_t wrong = 0;
    int32_t x = 0;
    const std::clock_t start = std::clock();
    for (int64_t i = 0; i < operations; ++i) {
        if (floor == Floor::InModule) {
            wrong += client->InModuleFloor(x) != x + kClientTag;
        } else {
            wrong += client->CrossModuleFloor(x) != x + kScannedTag;
            if (floor == Floor::CrossModuleAndLookups) wrong += client->ExportLookups(module) != 3;
        }
        x = (x + 1) & 0xFFFF;
    }
    const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    return wrong == 0 && operations > 0 ? seconds / static_cast<double>(operations) : NAN;
}

void MeasureOperation(benchmark::State& state, Operation operation, int32_t tag, Crowding crowding, Floor floor)
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
    const double floorSeconds = floor != Floor::None ? TimeFloor(*world, floor, state.iterations()) : 0;
    if (std::isnan(floorSeconds)) {
        state.SkipWithError("the floor's answers came from the wrong module or none");
        return;
    }
    if (floor != Floor::None) state.counters[kFloorSeconds] = floorSeconds;
    Finish(state, *world, lines, wrong);
}

// The registered instance must be the one answered, and stay registered.
void MeasureRegistered(benchmark::State& state, Operation operation, Crowding crowding)
{
    World* world = Prepare(state, crowding);
    if (world == nullptr) return;
    MeasureOperation(state, operation, kSharedTag, crowding, Floor::InModule);
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

void AddOperation(const char* base, Operation operation, int32_t tag, Crowding crowding, Floor floor)
{
    benchmark::RegisterBenchmark(NameAt(base, crowding).c_str(), MeasureOperation, operation, tag, crowding, floor);
}

void AddRegistered(const char* base, Operation operation, Crowding crowding)
{
    benchmark::RegisterBenchmark(NameAt(base, crowding).c_str(), MeasureRegistered, operation, crowding);
}

void AddLookups(Crowding crowding)
{
    benchmark::RegisterBenchmark(NameAt(kExportLookups, crowding).c_str(), MeasureLookups, crowding);
}

}  // namespace

// Registered in the order they run: the process only grows more crowded.
void RegisterRequestBenchmarks()
{
    AddOperation(kInModuleFloor, &IBenchClient::InModuleFloor, kClientTag, kQuiet, Floor::None);
    AddOperation(kCrossModuleFloor, &IBenchClient::CrossModuleFloor, kScannedTag, kQuiet, Floor::None);
    AddLookups(kQuiet);
    AddOperation(kSectionPtr, &IBenchClient::SectionRequest, kSectionTag, kQuiet, Floor::CrossModuleAndLookups);
    AddOperation(kSectionDirect, &IBenchClient::SectionDirect, kSectionTag, kQuiet, Floor::CrossModuleAndLookups);
    AddOperation(kScannedPtr, &IBenchClient::ScannedRequest, kScannedTag, kQuiet, Floor::CrossModule);
    AddOperation(kScannedDirect, &IBenchClient::ScannedDirect, kScannedTag, kQuiet, Floor::CrossModule);
    AddRegistered(kRegisteredPtr, &IBenchClient::SharedRequest, kQuiet);
    AddRegistered(kRegisteredDirect, &IBenchClient::SharedDirect, kQuiet);

    AddLookups(kManyObjects);
    AddOperation(kSectionPtr, &IBenchClient::SectionRequest, kSectionTag, kManyObjects, Floor::CrossModuleAndLookups);
    AddOperation(kScannedPtr, &IBenchClient::ScannedRequest, kScannedTag, kManyObjects, Floor::CrossModule);
    AddRegistered(kRegisteredPtr, &IBenchClient::SharedRequest, kManyObjects);

    AddOperation(kScannedPtr, &IBenchClient::ScannedRequest, kScannedTag, kManyInstances, Floor::CrossModule);
    AddRegistered(kRegisteredPtr, &IBenchClient::SharedRequest, kManyInstances);
}

}  // namespace Orvik::Bench
