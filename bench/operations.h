#pragma once
// The operations the benchmark programs time on the world: the floors (no
// framework code runs in them), the framework's module-side costs and the
// requests. Each answers whether the operation answered right.

#include <cstdint>

#include "bench/bench_world.h"

namespace Orvik::Bench {

using Work = bool (*)(World& world, int32_t x);

// The floors.
bool InModuleFloor(World& world, int32_t x);
bool CrossModuleFloor(World& world, int32_t x);
bool LoaderLookupsFloor(World& world, int32_t x);
bool CrossModuleAndLookupsFloor(World& world, int32_t x);
bool IdleCycleFloor(World& world, int32_t x);
// The floors of requests made on several threads at once.
bool SharedMapFloor(World& world, int32_t x);
bool LockedFloor(World& world, int32_t x);
// A gauge that makes nothing: a call of a held component.
bool HeldCall(World& world, int32_t x);

// The framework's module-side costs.
bool OrvikInModule(World& world, int32_t x);
bool OrvikCrossModule(World& world, int32_t x);
bool OrvikLookups(World& world, int32_t x);

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
