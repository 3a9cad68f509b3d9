#pragma once
// The component class of the test modules built on the module runtime.

#include "module/component_impl.h"
#include "tests/catalog/modules/catalog_probe.h"

namespace Orvik {
namespace Testing {

template <class Class, ComponentId Id, int32_t Tag>
class TRuntimeProbe : public TComponentImpl<ICatalogProbe, Class, Id, 0, 0> {
public:
    int32_t ModuleTag() override { return Tag; }
    void CopyRegistryPath(char* buffer, int32_t size) override { this->GetConfigPath(nullptr, buffer, size); }
    void Uninitialize() override {}
};

}  // namespace Testing
}  // namespace Orvik
