// A provider that a configuration also preloads.

#include "tests/factory/modules/probe_component.h"

namespace Orvik {
namespace Testing {
namespace {

class CPreload : public TProbeComponent<CPreload, kPreloadId, kPreloadTag> {};

TComponentRegistrar<CPreload> registrar;

}  // namespace
}  // namespace Testing
}  // namespace Orvik
