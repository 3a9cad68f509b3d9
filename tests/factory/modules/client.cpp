// The client module: obtains provider components through TOrvikPtr with its
// own registry path and factory pointer, as every module does.

#include <type_traits>

#include "orvik/bootstrap/orvik_ptr.h"
#include "orvik/module/component_impl.h"
#include "tests/factory/modules/probe_interfaces.h"

namespace Orvik::Testing {
namespace {

// TOrvikPtr takes its id from the interface type: calls action with the
// id as a type.
template <class Action, ComponentId... Ids>
void WithIdType(ComponentId id, Action&& action, std::integer_sequence<ComponentId, Ids...>)
{
    ((id == Ids ? action(std::integral_constant<ComponentId, Ids>{}) : void()), ...);
}

class CFactoryClient : public TComponentImpl<IFactoryClient, CFactoryClient, IFactoryClient::kComponentId, 0, 0> {
public:
    int32_t Use(ComponentId id, ProbeReport* report) override
    {
        int32_t used = 0;
        WithIdType(id, [&](auto known) {
            TOrvikPtr<TProbe<decltype(known)::value>, 1> probe;
            if (!probe) return;
            report->component = probe.get();
            report->tag = probe->ModuleTag();
            probe->CopyRegistryPath(report->registryPath, sizeof report->registryPath);
            used = 1;
        }, ProbeIds{});
        return used;
    }
    IProviderProbe* Keep(ComponentId id) override
    {
        IProviderProbe* kept = nullptr;
        WithIdType(id, [&](auto known) { kept = TOrvikPtr<TProbe<decltype(known)::value>, 0>().get(); }, ProbeIds{});
        return kept;
    }
    IOrvikComponentFactory* Connect() override
    {
        TOrvikPtr<IOrvikComponentFactory, 1> factory;
        return ModuleFactory();
    }
    void Uninitialize() override {}
};

TComponentRegistrar<CFactoryClient> registrar;

}  // namespace
}  // namespace Orvik::Testing
