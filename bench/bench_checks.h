#pragma once
// What every in-process benchmark does before and after its work: crowd the
// world as asked, and fail the benchmark on a wrong answer, a debugger line
// (the framework's error report) or a registered instance lost.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>

#include "bench/bench_world.h"

namespace Orvik::Bench {

// The world crowded as asked, or null after failing the benchmark.
World* Prepare(benchmark::State& state, const Crowding& crowding);

// Fails the benchmark when an answer was wrong or a debugger line was
// written since linesBefore.
void Finish(benchmark::State& state, const World& world, size_t linesBefore, int64_t wrongAnswers);

// Fails the benchmark unless the factory still answers the shared instance
// for its id and lists it as registered.
void CheckRegisteredInstance(benchmark::State& state, const World& world);

}  // namespace Orvik::Bench
