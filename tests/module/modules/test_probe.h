#pragma once
// The component of the test modules: enough to watch the module runtime
// from outside.

#include <atomic>

#include "orvik/module/component_impl.h"

namespace Orvik::Testing {

class ITestProbe : public IComponent {
public:
    // Which creator made the component.
    virtual int32_t Tag() = 0;
    // Uninitialize calls made in the module so far.
    virtual int32_t UninitializeCount() = 0;
    virtual void SetHoldValue(int32_t value) = 0;
    virtual void CopyConfigPath(const char* path, char* buffer, int32_t size) = 0;
    // The handle the module got at process attach.
    virtual Platform::ModuleHandle ModuleHandleSeen() = 0;
    // Releases a component that the module never recorded.
    virtual void ReleaseUnrecordedComponent() = 0;

protected:
    ~ITestProbe() = default;
};

extern std::atomic<int32_t> g_uninitializeCount;

template <class Class, ComponentId Id, int Singleton, int NeedsForce, int32_t TagValue>
class TProbe : public TComponentImpl<ITestProbe, Class, Id, Singleton, NeedsForce> {
public:
    int32_t Tag() override { return TagValue; }
    int32_t UninitializeCount() override { return g_uninitializeCount; }
    void SetHoldValue(int32_t value) override { this->hold_ = value; }
    void CopyConfigPath(const char* path, char* buffer, int32_t size) override { this->GetConfigPath(path, buffer, size); }
    Platform::ModuleHandle ModuleHandleSeen() override { return ThisModuleHandle(); }
    void ReleaseUnrecordedComponent() override { Class::CreateInstance()->Release(1); }
    void Uninitialize() override { ++g_uninitializeCount; }
};

}  // namespace Orvik::Testing
