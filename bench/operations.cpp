#include "bench/operations.h"

#include "bench/floors.h"
#include "bench/modules/plain_probe.h"

namespace Orvik::Bench {

namespace {

template <ClientOperation Operation>
int64_t InClient(World& world, int32_t first, int32_t count)
{
    return world.client()->RunBatch(Operation, first, count);
}

// A batch in the benchmark program's own loop, the operation inlined.
template <bool (*Operation)(World&, int32_t)>
int64_t InProgram(World& world, int32_t first, int32_t count)
{
    int64_t wrong = 0;
    for (int32_t x = first; x < first + count; ++x) wrong += !Operation(world, x);
    return wrong;
}

bool LookupsThroughLoader(World& world, int32_t) { return LoaderLookups(world.sectionModule()) == 3; }
bool IdleCycleThroughLoader(World& world, int32_t x)
{
    return LoaderIdleCycle(world.plainModulePath(), x) == x + kPlainTag;
}
bool LookupsThroughFramework(World& world, int32_t) { return world.client()->ExportLookups(world.sectionModule()) == 3; }

int64_t CrossModuleAndLookups(World& world, int32_t first, int32_t count)
{
    return CrossModuleFloor(world, first, count) + LoaderLookupsFloor(world, first, count);
}

}  // namespace

const Work InModuleFloor = InClient<ClientOperation::kInModuleFloor>;
const Work CrossModuleFloor = InClient<ClientOperation::kCrossModuleFloor>;
const Work LoaderLookupsFloor = InProgram<LookupsThroughLoader>;
const Work CrossModuleAndLookupsFloor = CrossModuleAndLookups;
const Work IdleCycleFloor = InProgram<IdleCycleThroughLoader>;
const Work SharedMapFloor = InClient<ClientOperation::kSharedMapFloor>;
const Work LockedFloor = InClient<ClientOperation::kLockedFloor>;
const Work HeldCall = InClient<ClientOperation::kHeldCall>;

const Work OrvikInModule = InClient<ClientOperation::kOrvikInModule>;
const Work OrvikCrossModule = InClient<ClientOperation::kOrvikCrossModule>;
const Work OrvikLookups = InProgram<LookupsThroughFramework>;

const Work RequestSection = InClient<ClientOperation::kSectionRequest>;
const Work RequestScanned = InClient<ClientOperation::kScannedRequest>;
const Work RequestShared = InClient<ClientOperation::kSharedRequest>;
const Work DirectSection = InClient<ClientOperation::kSectionDirect>;
const Work DirectScanned = InClient<ClientOperation::kScannedDirect>;
const Work DirectShared = InClient<ClientOperation::kSharedDirect>;
const Work RequestIdleScanned = InClient<ClientOperation::kIdleScannedRequest>;
const Work RequestIdleSection = InClient<ClientOperation::kIdleSectionRequest>;

}  // namespace Orvik::Bench
