// Provides 10, 11 and 30.

#include "tests/catalog/modules/runtime_probe.h"

namespace Orvik {
namespace Testing {
namespace {

class CFirst10 : public TRuntimeProbe<CFirst10, 10, kFirstTag> {};
class CFirst11 : public TRuntimeProbe<CFirst11, 11, kFirstTag> {};
class CFirst30 : public TRuntimeProbe<CFirst30, 30, kFirstTag> {};

TComponentRegistrar<CFirst10> registrar10;
TComponentRegistrar<CFirst11> registrar11;
TComponentRegistrar<CFirst30> registrar30;

}  // namespace
}  // namespace Testing
}  // namespace Orvik
