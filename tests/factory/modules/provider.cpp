// A provider module, built once per provider with its tag, the ids it
// provides and whether they are singletons (whose creation registers them
// with the factory as the shared instance of their id).

#include "orvik/bootstrap/orvik_ptr.h"
#include "orvik/module/component_impl.h"
#include "tests/factory/modules/probe_interfaces.h"

namespace Orvik::Testing {
namespace {

template <ComponentId Id>
class CProvided : public TComponentImpl<TProbe<Id>, CProvided<Id>, Id, PROVIDER_SINGLETON, 0> {
public:
    int32_t ModuleTag() override { return PROVIDER_TAG; }
    void CopyRegistryPath(char* buffer, int32_t size) override { this->GetConfigPath(nullptr, buffer, size); }
    void QueryLog(LogQuery* query) override
    {
        char configPath[kRegistryPathSize] = {};
        this->GetConfigPath(nullptr, configPath, sizeof configPath);
        *query = LogQuery{0, 0, nullptr};
        TOrvikPtr<IOrvikComponentFactory, 1> factory;
        if (factory) factory->QueryLogSetting(configPath, Id, &query->debugOutputMask, &query->logFileMask, &query->info);
    }
    void Uninitialize() override {}
};

template <ComponentId... Ids>
struct Registrars {
    Registrars() { (RegisterCreator(Ids, &CProvided<Ids>::CreateInstance), ...); }
};

Registrars<PROVIDER_IDS> registrars;

}  // namespace
}  // namespace Orvik::Testing
