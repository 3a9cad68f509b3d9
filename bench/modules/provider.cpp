// A provider module, built once per provider with its tag, the ids it
// provides and whether they are singletons.

#include "bench/modules/bench_interfaces.h"
#include "orvik/module/component_impl.h"

namespace Orvik::Bench {
namespace {

template <ComponentId Id>
class CProvided : public TComponentImpl<TBenchProbe<Id>, CProvided<Id>, Id, PROVIDER_SINGLETON, 0> {
public:
    int32_t Work(int32_t x) override { return x + PROVIDER_TAG; }
    void Uninitialize() override {}
};

template <ComponentId... Ids>
struct Registrars {
    Registrars() { (RegisterCreator(Ids, &CProvided<Ids>::CreateInstance), ...); }
};

Registrars<PROVIDER_IDS> registrars;

}  // namespace
}  // namespace Orvik::Bench
