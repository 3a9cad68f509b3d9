// Services.dll: a shared counter and a plain calculator. Orvik.ini makes it
// the default module; Plugins.ini lists it for scanning.

#include "example_interfaces.h"
#include "orvik/module/component_impl.h"

namespace Example {
namespace {

using Orvik::TComponentImpl;
using Orvik::TComponentRegistrar;

// Singleton = 1: one object per module, which its creation registers with
// the factory as the shared instance of its id. Smart pointers leave it
// alive; the factory's ReleaseRegisteredInstances ends it.
class CCounter : public TComponentImpl<ICounter, CCounter, ICounter::kComponentId, 1, 0> {
public:
    int32_t Next() override { return ++count_; }
    void Uninitialize() override {}

private:
    int32_t count_ = 0;
};

class CCalculator : public TComponentImpl<ICalculator, CCalculator, ICalculator::kComponentId, 0, 0> {
public:
    int32_t Add(int32_t a, int32_t b) override { return a + b; }
    void Uninitialize() override {}
};

TComponentRegistrar<CCounter> counterRegistrar;
TComponentRegistrar<CCalculator> calculatorRegistrar;

}  // namespace
}  // namespace Example
