// Provides the common id and one of its own.

#include "tests/factory/modules/probe_component.h"

namespace Orvik {
namespace Testing {
namespace {

class CBetaCommon : public TProbeComponent<CBetaCommon, kCommonId, kBetaTag> {};
class CBetaOnly : public TProbeComponent<CBetaOnly, kBetaOnlyId, kBetaTag> {};

TComponentRegistrar<CBetaCommon> commonRegistrar;
TComponentRegistrar<CBetaOnly> onlyRegistrar;

}  // namespace
}  // namespace Testing
}  // namespace Orvik
