#pragma once
// One turn of work on several threads at once: the threads start together,
// run the work for a while on the clock and stop together; the turn counts
// what all of them did.

#include <cstdint>

#include "bench/operations.h"

namespace Orvik::Bench {

struct ThreadTurn {
    double operationsPerSecond;  // summed over the threads, wall time
    int64_t wrongAnswers;
};

// Runs work on the given number of threads for about `seconds` of wall time.
ThreadTurn RunOnThreads(World& world, Work work, int threads, double seconds);

}  // namespace Orvik::Bench
