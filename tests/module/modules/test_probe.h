#pragma once
// The interface of the test modules' components: enough to watch the module
// runtime from outside.

#include "module/component.h"
#include "platform/module_loader.h"

namespace Orvik {
namespace Testing {

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

}  // namespace Testing
}  // namespace Orvik
