// Provides the common id and one of its own.

#include "tests/factory/modules/probe_component.h"

namespace Orvik {
namespace Testing {
namespace {

class CAlphaCommon : public TProbeComponent<CAlphaCommon, kCommonId, kAlphaTag> {};
class CAlphaOnly : public TProbeComponent<CAlphaOnly, kAlphaOnlyId, kAlphaTag> {};

TComponentRegistrar<CAlphaCommon> commonRegistrar;
TComponentRegistrar<CAlphaOnly> onlyRegistrar;

}  // namespace
}  // namespace Testing
}  // namespace Orvik
