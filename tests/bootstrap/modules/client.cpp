// A client module: gets components through its bootstrap like any module.

#include "orvik/bootstrap/orvik_ptr.h"
#include "orvik/bootstrap/root_path.h"
#include "orvik/module/component_impl.h"
#include "tests/bootstrap/modules/test_interfaces.h"

namespace Orvik::Testing {
namespace {

class CClientProbe : public TComponentImpl<IClientProbe, CClientProbe, IClientProbe::kComponentId, 0, 0> {
public:
    ITestService* UseService(int32_t n) override
    {
        if (n == 0) {
            TOrvikPtr<ITestService, 0> service;
            return service.get();
        }
        TOrvikPtr<ITestService, 1> service;
        return service.get();
    }
    ISharedService* UseSharedService() override
    {
        TOrvikPtr<ISharedService, 1> shared;
        return shared.get();
    }
    const char* RootPath() override { return GetRootPath(); }
    IComponent* Factory() override { return ModuleFactory(); }
    void Uninitialize() override {}
};

// A singleton of this module: its creation registers it with the factory.
class CSharedService : public TComponentImpl<ISharedService, CSharedService, ISharedService::kComponentId, 1, 0> {
public:
    void Uninitialize() override {}
};

TComponentRegistrar<CClientProbe> probeRegistrar;
TComponentRegistrar<CSharedService> sharedRegistrar;

}  // namespace
}  // namespace Orvik::Testing
