// The default module of a configuration.

#include "tests/factory/modules/probe_component.h"

namespace Orvik {
namespace Testing {
namespace {

class CGamma : public TProbeComponent<CGamma, kGammaId, kGammaTag> {};

TComponentRegistrar<CGamma> registrar;

}  // namespace
}  // namespace Testing
}  // namespace Orvik
