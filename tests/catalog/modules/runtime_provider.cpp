// The provider modules built on the module runtime, one source built twice:
// cat_first provides 10, 11 and 30; cat_second provides 20 and 30, and its
// creator of 21 makes nothing.

#include "orvik/module/component_impl.h"
#include "tests/catalog/modules/catalog_probe.h"

namespace Orvik::Testing {
namespace {

template <ComponentId Id>
class CProvided : public TComponentImpl<ICatalogProbe, CProvided<Id>, Id, 0, 0> {
public:
    int32_t ModuleTag() override { return PROVIDER_TAG; }
    void CopyRegistryPath(char* buffer, int32_t size) override { this->GetConfigPath(nullptr, buffer, size); }
    void Uninitialize() override {}
};

IComponent* CreateNothing() { return nullptr; }

struct Registrations {
    Registrations()
    {
        if (PROVIDER_TAG == kFirstTag) {
            RegisterCreator(10, &CProvided<10>::CreateInstance);
            RegisterCreator(11, &CProvided<11>::CreateInstance);
        } else {
            RegisterCreator(20, &CProvided<20>::CreateInstance);
            RegisterCreator(21, CreateNothing);
        }
        RegisterCreator(30, &CProvided<30>::CreateInstance);
    }
};

Registrations registrations;

}  // namespace
}  // namespace Orvik::Testing
