#pragma once
// Interfaces shared by the bootstrap tests, the client module and the test
// factory module.

#include "orvik/module/component.h"
#include "orvik/platform/module_loader.h"

namespace Orvik::Testing {

// A service the test factory hands out.
class ITestService : public IComponent {
public:
    static constexpr ComponentId kComponentId = 7200;
    virtual int32_t Value() = 0;

protected:
    ~ITestService() = default;
};

// The same service, made a singleton of the client module.
class ISharedService : public IComponent {
public:
    static constexpr ComponentId kComponentId = 7300;

protected:
    ~ISharedService() = default;
};

// The client module's window for the tests: what its bootstrap does.
class IClientProbe : public IComponent {
public:
    static constexpr ComponentId kComponentId = 7100;
    // Holds a TOrvikPtr<ITestService, n> for the call; returns what it held.
    virtual ITestService* UseService(int32_t n) = 0;
    virtual ISharedService* UseSharedService() = 0;
    virtual const char* RootPath() = 0;
    virtual IComponent* Factory() = 0;

protected:
    ~IClientProbe() = default;
};

// How the test factory's process register answers.
class IRegisterControl : public IComponent {
public:
    static constexpr ComponentId kComponentId = 7401;
    enum Mode { kAbsent, kOpenKeyFails, kQueryValueFails, kAnswers };
    virtual void SetMode(int32_t mode, const char* rootPath) = 0;

protected:
    ~IRegisterControl() = default;
};

}  // namespace Orvik::Testing
