#pragma once
// The interfaces of the example's components. A module that uses a
// component needs only its interface: the id tells the factory what to make.

#include <cstdint>

#include "orvik/module/component.h"

namespace Example {

using Orvik::ComponentId;
using Orvik::IComponent;

// Greeter.dll, named by its own section in Orvik.ini. It logs each
// greeting as its log settings say.
class IGreeter : public IComponent {
public:
    static constexpr ComponentId kComponentId = 5100;
    // Writes "Hello, <name>!" into buffer (size bytes).
    virtual void Greet(const char* name, char* buffer, int32_t size) = 0;

protected:
    ~IGreeter() = default;
};

// A service shared by the whole process: Services.dll makes one object and
// registers it with the factory, which hands it to every request.
class ICounter : public IComponent {
public:
    static constexpr ComponentId kComponentId = 5200;
    // 1, 2, 3, ... over the life of the one object.
    virtual int32_t Next() = 0;

protected:
    ~ICounter() = default;
};

// A plain component of Services.dll: a new object for every request.
class ICalculator : public IComponent {
public:
    static constexpr ComponentId kComponentId = 5300;
    virtual int32_t Add(int32_t a, int32_t b) = 0;

protected:
    ~ICalculator() = default;
};

// An id no module provides.
class IMissing : public IComponent {
public:
    static constexpr ComponentId kComponentId = 5999;

protected:
    ~IMissing() = default;
};

// ExampleApp.dll: the host's way into the framework. Each step prints what
// it does and returns 1 when everything behaved as expected, else 0.
class IExampleApp : public IComponent {
public:
    static constexpr ComponentId kComponentId = 5000;
    // Log files go below rootPath\OrvikLog from now on.
    virtual int32_t UseLogRoot(const char* rootPath) = 0;
    virtual int32_t GreetThroughSection(const char* name) = 0;
    virtual int32_t AddThroughDefaultModule() = 0;
    virtual int32_t AddThroughScannedModule() = 0;
    virtual int32_t ShareOneCounter() = 0;
    virtual int32_t AskForMissingComponent() = 0;
    // Prints what the factory holds: its catalogs, the modules each loaded
    // and how, the modules waiting to be unloaded, the shared instances.
    virtual int32_t ShowWhatIsLoaded() = 0;

protected:
    ~IExampleApp() = default;
};

// The second configuration file, named by the app's requests.
constexpr const char kPluginsConfig[] = "Plugins.ini";

}  // namespace Example
