#include "bench/operations.h"

#include "bench/floors.h"
#include "bench/modules/plain_probe.h"

namespace Orvik::Bench {

namespace {

template <int32_t (IBenchClient::*Operation)(int32_t), int32_t Tag>
bool Request(World& world, int32_t x)
{
    return (world.client()->*Operation)(x) == x + Tag;
}

}  // namespace

bool InModuleFloor(World& world, int32_t x) { return world.client()->InModuleFloor(x) == x + kClientTag; }
bool CrossModuleFloor(World& world, int32_t x) { return world.client()->CrossModuleFloor(x) == x + kPlainTag; }
bool LoaderLookupsFloor(World& world, int32_t) { return LoaderLookups(world.sectionModule()) == 3; }
bool CrossModuleAndLookupsFloor(World& world, int32_t x)
{
    return CrossModuleFloor(world, x) && LoaderLookupsFloor(world, x);
}
bool IdleCycleFloor(World& world, int32_t x) { return LoaderIdleCycle(world.plainModulePath(), x) == x + kPlainTag; }
bool SharedMapFloor(World& world, int32_t x) { return world.client()->SharedMapFloor(x) == x + kClientTag; }
bool LockedFloor(World& world, int32_t x) { return world.client()->LockedFloor(x) == x + kClientTag; }
bool HeldCall(World& world, int32_t x) { return world.client()->HeldCall(x) == x + kScannedTag; }

bool OrvikInModule(World& world, int32_t x) { return world.client()->OrvikInModule(x) == x + kClientTag; }
bool OrvikCrossModule(World& world, int32_t x) { return world.client()->OrvikCrossModule(x) == x + kScannedTag; }
bool OrvikLookups(World& world, int32_t) { return world.client()->ExportLookups(world.sectionModule()) == 3; }

const Work RequestSection = Request<&IBenchClient::SectionRequest, kSectionTag>;
const Work RequestScanned = Request<&IBenchClient::ScannedRequest, kScannedTag>;
const Work RequestShared = Request<&IBenchClient::SharedRequest, kSharedTag>;
const Work DirectSection = Request<&IBenchClient::SectionDirect, kSectionTag>;
const Work DirectScanned = Request<&IBenchClient::ScannedDirect, kScannedTag>;
const Work DirectShared = Request<&IBenchClient::SharedDirect, kSharedTag>;
const Work RequestIdleScanned = Request<&IBenchClient::IdleScannedRequest, kIdleScannedTag>;
const Work RequestIdleSection = Request<&IBenchClient::IdleSectionRequest, kIdleSectionTag>;

}  // namespace Orvik::Bench
