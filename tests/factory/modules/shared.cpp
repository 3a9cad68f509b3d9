// A singleton: its creation registers it with the factory as the shared
// instance of its id.

#include "tests/factory/modules/probe_component.h"

namespace Orvik {
namespace Testing {
namespace {

class CShared : public TProbeComponent<CShared, kSharedId, kSharedTag, 1> {};

TComponentRegistrar<CShared> registrar;

}  // namespace
}  // namespace Testing
}  // namespace Orvik
