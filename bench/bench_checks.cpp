#include "bench/bench_checks.h"

#include <string>

namespace Orvik::Bench {

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

void CheckRegisteredInstance(benchmark::State& state, const World& world)
{
    IOrvikComponentFactory* factory = world.factory();
    if (factory->CreateComponentByID(kSharedId, nullptr) != world.sharedInstance() ||
        factory->IsRegisteredInstance(world.sharedInstance()) != 1) {
        state.SkipWithError("the registered instance was replaced or dropped");
    }
}

}  // namespace Orvik::Bench
