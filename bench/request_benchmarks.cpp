// The in-process benchmarks: the floors, the export lookups and the
// requests, each timed per operation of the client module. Every
// operation's answer is checked: a component from the wrong module, none
// at all, or a debugger line (the framework's error report) fails the
// benchmark.

#include <benchmark/benchmark.h>

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

void MeasureOperation(benchmark::State& state, Operation operation, int32_t tag, Crowding crowding)
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

// The registered instance must be the one answered, and stay registered.
void MeasureRegistered(benchmark::State& state, Operation operation, Crowding crowding)
{
    World* world = Prepare(state, crowding);
    if (world == nullptr) return;
    MeasureOperation(state, operation, kSharedTag, crowding);
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

void AddOperation(const char* base, Operation operation, int32_t tag, Crowding crowding)
{
    benchmark::RegisterBenchmark(NameAt(base, crowding).c_str(), MeasureOperation, operation, tag, crowding);
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
    AddOperation(kInModuleFloor, &IBenchClient::InModuleFloor, kClientTag, kQuiet);
    AddOperation(kCrossModuleFloor, &IBenchClient::CrossModuleFloor, kScannedTag, kQuiet);
    AddLookups(kQuiet);
    AddOperation(kSectionPtr, &IBenchClient::SectionRequest, kSectionTag, kQuiet);
    AddOperation(kSectionDirect, &IBenchClient::SectionDirect, kSectionTag, kQuiet);
    AddOperation(kScannedPtr, &IBenchClient::ScannedRequest, kScannedTag, kQuiet);
    AddOperation(kScannedDirect, &IBenchClient::ScannedDirect, kScannedTag, kQuiet);
    AddRegistered(kRegisteredPtr, &IBenchClient::SharedRequest, kQuiet);
    AddRegistered(kRegisteredDirect, &IBenchClient::SharedDirect, kQuiet);

    AddLookups(kManyObjects);
    AddOperation(kSectionPtr, &IBenchClient::SectionRequest, kSectionTag, kManyObjects);
    AddOperation(kScannedPtr, &IBenchClient::ScannedRequest, kScannedTag, kManyObjects);
    AddRegistered(kRegisteredPtr, &IBenchClient::SharedRequest, kManyObjects);

    AddOperation(kScannedPtr, &IBenchClient::ScannedRequest, kScannedTag, kManyInstances);
    AddRegistered(kRegisteredPtr, &IBenchClient::SharedRequest, kManyInstances);
}

}  // namespace Orvik::Bench
