#pragma once
// The probe component class, shared by the test modules.

#include <atomic>

#include "module/component_impl.h"
#include "tests/module/modules/test_probe.h"

namespace Orvik {
namespace Testing {

extern std::atomic<int32_t> g_uninitializeCount;

template <class Class, ComponentId Id, int Singleton, int NeedsForce, int32_t TagValue>
class TProbe : public TComponentImpl<ITestProbe, Class, Id, Singleton, NeedsForce> {
public:
    int32_t Tag() override { return TagValue; }
    int32_t UninitializeCount() override { return g_uninitializeCount; }
    void SetHoldValue(int32_t value) override { this->hold_ = value; }
    void CopyConfigPath(const char* path, char* buffer, int32_t size) override
    {
        this->GetConfigPath(path, buffer, size);
    }
    Platform::ModuleHandle ModuleHandleSeen() override { return ThisModuleHandle(); }
    void ReleaseUnrecordedComponent() override { Class::CreateInstance()->Release(1); }
    void Uninitialize() override { ++g_uninitializeCount; }
};

}  // namespace Testing
}  // namespace Orvik
