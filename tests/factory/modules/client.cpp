// The client module: obtains provider components through TOrvikPtr with its
// own registry path and factory pointer, as every module does.

#include <utility>

#include "bootstrap/orvik_ptr.h"
#include "module/component_impl.h"
#include "tests/factory/modules/probe_interfaces.h"

namespace Orvik {
namespace Testing {
namespace {

template <ComponentId Id>
int32_t UseOne(ProbeReport* report)
{
    TOrvikPtr<TProbe<Id>, 1> probe;
    if (!probe) return 0;
    report->component = probe.get();
    report->tag = probe->ModuleTag();
    probe->CopyRegistryPath(report->registryPath, sizeof report->registryPath);
    return 1;
}

template <ComponentId Id>
IProviderProbe* KeepOne()
{
    TOrvikPtr<TProbe<Id>, 0> probe;
    return probe.get();
}

// TOrvikPtr takes its id from the interface type: pick the type of id.
template <ComponentId... Ids>
int32_t UseById(ComponentId id, ProbeReport* report, std::integer_sequence<ComponentId, Ids...>)
{
    int32_t used = 0;
    ((id == Ids ? (used = UseOne<Ids>(report)) : 0), ...);
    return used;
}

template <ComponentId... Ids>
IProviderProbe* KeepById(ComponentId id, std::integer_sequence<ComponentId, Ids...>)
{
    IProviderProbe* kept = nullptr;
    ((id == Ids ? (kept = KeepOne<Ids>()) : nullptr), ...);
    return kept;
}

class CFactoryClient : public TComponentImpl<IFactoryClient, CFactoryClient, IFactoryClient::kComponentId, 0, 0> {
public:
    int32_t Use(ComponentId id, ProbeReport* report) override { return UseById(id, report, ProbeIds{}); }
    IProviderProbe* Keep(ComponentId id) override { return KeepById(id, ProbeIds{}); }
    IOrvikComponentFactory* Connect() override
    {
        TOrvikPtr<IOrvikComponentFactory, 1> factory;
        return ModuleFactory();
    }
    void Uninitialize() override {}
};

TComponentRegistrar<CFactoryClient> registrar;

}  // namespace
}  // namespace Testing
}  // namespace Orvik
