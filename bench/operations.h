#pragma once
// The operations the benchmark programs time on the world: the floors (no
// framework code runs in them), the framework's module-side costs and the
// requests. Each runs as a batch, in a loop of the module whose code makes
// it (the client module's, or the benchmark program's for the loader's
// floors), and answers how many of the batch answered wrong.

#include <cstdint>

#include "bench/bench_world.h"

namespace Orvik::Bench {

// count operations with x = first, first + 1, ...
using Work = int64_t (*)(World& world, int32_t first, int32_t count);

// The floors.
extern const Work InModuleFloor;
extern const Work CrossModuleFloor;
extern const Work LoaderLookupsFloor;
extern const Work CrossModuleAndLookupsFloor;
extern const Work IdleCycleFloor;
// The floors of requests made on several threads at once.
extern const Work SharedMapFloor;
extern const Work LockedFloor;
// A gauge that makes nothing: a call of a held component.
extern const Work HeldCall;

// The framework's module-side costs.
extern const Work OrvikInModule;
extern const Work OrvikCrossModule;
extern const Work OrvikLookups;

// The requests, as the client module's code makes them.
extern const Work RequestSection;
extern const Work RequestScanned;
extern const Work RequestShared;
extern const Work DirectSection;
extern const Work DirectScanned;
extern const Work DirectShared;
extern const Work RequestIdleScanned;
extern const Work RequestIdleSection;

}  // namespace Orvik::Bench
