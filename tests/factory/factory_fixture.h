#pragma once
// The test program is the host: it writes "Orvik.ini" beside itself, loads
// a fresh client module for each test, which finds the real factory module
// (one directory up) through that file, and ends the factory afterwards, so
// that every test starts with a factory of its own.

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "module/component_factory.h"
#include "platform/module_loader.h"
#include "tests/factory/modules/probe_interfaces.h"
#include "tests/support/debug_capture.h"
#include "tests/support/test_paths.h"

namespace Orvik {
namespace Testing {

using Lines = std::vector<std::string>;

// A module of the test program's directory, in the framework's form.
std::string InProgramDirectory(const std::string& name);
bool IsLoaded(const char* module);

class FactoryTest : public ::testing::Test {
protected:
    FactoryTest();
    void SetUp() override;
    void TearDown() override;

    // "Orvik.ini" beside the program: the factory module's entry, then body.
    void WriteOrvikIni(const std::string& body);
    // A configuration file in the scratch directory that names the program
    // directory as its module directory and the factory module; returns its
    // path.
    std::string WriteConfig(const std::string& name, const std::string& body);
    // The client's registry path: the configuration its requests name.
    void SetRegistry(const std::string& path);

    // What the client saw of the component id; tag 0 when it got none.
    ProbeReport Use(ComponentId id);
    IOrvikComponentFactory* Factory() { return client_->Connect(); }

    // Lets the factory unload every provider that has no live component.
    void UnloadIdleProviders();
    // Releases the client's component, ends the factory with Release(1)
    // and unloads the client, whose factory pointer is then stale.
    void EndFactory();
    // A new client module, which obtains a new factory.
    void LoadClient();
    // Dispatches this thread's messages until the modules are unloaded, or
    // gives up after two seconds.
    static bool DispatchUntilUnloaded(std::initializer_list<const char*> modules);
    // Drops a reference to a module that its owner, gone by now, never
    // frees, so that the next test starts without it.
    static void DropLeftoverReference(const char* module);

    ScratchDirectory scratch_;
    DebugCapture debug_;
    Platform::ModuleHandle clientModule_ = nullptr;
    IFactoryClient* client_ = nullptr;
};

}  // namespace Testing
}  // namespace Orvik
