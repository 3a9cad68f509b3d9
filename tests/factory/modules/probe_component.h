#pragma once
// The component class of the provider modules.

#include "bootstrap/orvik_ptr.h"
#include "module/component_impl.h"
#include "tests/factory/modules/probe_interfaces.h"

namespace Orvik {
namespace Testing {

template <class Class, ComponentId Id, int32_t Tag, int Singleton = 0>
class TProbeComponent : public TComponentImpl<TProbe<Id>, Class, Id, Singleton, 0> {
public:
    int32_t ModuleTag() override { return Tag; }
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

}  // namespace Testing
}  // namespace Orvik
