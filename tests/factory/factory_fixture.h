#pragma once
// The test program is the host: it writes "Orvik.ini" beside itself, loads
// a fresh client module for each test, which finds the real factory module
// (one directory up) through that file, and ends the factory afterwards, so
// that every test starts with a factory of its own.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>
#include <vector>

#include "orvik/module/component_factory.h"
#include "orvik/module/module_exports.h"
#include "orvik/platform/thread_timer.h"
#include "tests/factory/modules/probe_interfaces.h"
#include "tests/support/debug_capture.h"
#include "tests/support/test_paths.h"

namespace Orvik::Testing {

using Lines = std::vector<std::string>;

inline const char* const kProviders[] = {"fact_alpha.dll",  "fact_beta.dll",    "fact_gamma.dll",
                                         "fact_shared.dll", "fact_preload.dll", "fact_bare.dll",
                                         "fact_stdcall.dll", "fact_contract.dll", "fact_other_contract.dll"};

// A module of the test program's directory, in the framework's form.
inline std::string InProgramDirectory(const std::string& name) { return ProgramDirectory() + "\\" + name; }
inline bool IsLoaded(const char* module) { return Platform::FindLoadedModule(module) != nullptr; }
inline void WriteFile(const std::filesystem::path& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

class FactoryTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        WriteOrvikIni("");
        LoadClient();
    }
    void TearDown() override
    {
        // On Windows the failure reports of the test itself arrive here too.
        const Lines unread = debug_.Take();
        if (!HasFailure()) {
            EXPECT_EQ(unread, Lines{}) << "lines nobody looked at";
        }
        if (client_ != nullptr) {
            UnloadIdleProviders();
            EndFactory();
        }
        EXPECT_EQ(debug_.Take(), Lines{}) << "written while shutting down";
        std::filesystem::remove(NativePath(InProgramDirectory("Orvik.ini")));
        EXPECT_FALSE(IsLoaded("fact_client.dll"));
        for (const char* provider : kProviders) EXPECT_FALSE(IsLoaded(provider)) << provider << " left loaded";
    }

    // "Orvik.ini" beside the program: the factory module's entry, then body.
    void WriteOrvikIni(const std::string& body)
    {
        WriteFile(NativePath(InProgramDirectory("Orvik.ini")), "[361]\nDLL=..\\OrvFact.dll\n" + body);
    }
    // A configuration file in the scratch directory that names the program
    // directory as its module directory and the factory module.
    std::string WriteConfig(const std::string& name, const std::string& body)
    {
        WriteFile(scratch_.native() / name, "dllpath=" + ProgramDirectory() + "\n[361]\ndll=" +
                                                InProgramDirectory("..\\OrvFact.dll") + "\n" + body);
        return scratch_.Framework(name);
    }
    // The client's registry path: the configuration its requests name.
    void SetRegistry(const std::string& path)
    {
        FindModuleExport<Exports::SetDLLRegistry>(clientModule_)(path.c_str());
    }

    // What the client saw of the component id; tag 0 when it got none.
    ProbeReport Use(ComponentId id)
    {
        ProbeReport report{};
        client_->Use(id, &report);
        return report;
    }
    IOrvikComponentFactory* Factory() { return client_->Connect(); }

    // Lets the factory unload every provider that has no live component.
    void UnloadIdleProviders()
    {
        IOrvikComponentFactory* factory = Factory();
        for (const char* provider : kProviders) {
            if (Platform::ModuleHandle module = Platform::FindLoadedModule(provider)) factory->TryUnloadModule(module);
        }
    }
    // Releases the client's component, ends the factory with Release(1)
    // and unloads the client, whose factory pointer is then stale.
    void EndFactory()
    {
        IOrvikComponentFactory* factory = Factory();
        client_->Release(0);
        client_ = nullptr;
        factory->Release(1);
        Platform::ReleaseModule(clientModule_);
        clientModule_ = nullptr;
    }
    // A new client module, which obtains a new factory.
    void LoadClient()
    {
        clientModule_ = Platform::LoadModule(InProgramDirectory("fact_client.dll").c_str());
        ASSERT_NE(clientModule_, nullptr);
        auto create = FindModuleExport<Exports::CreateComponent>(clientModule_);
        client_ = static_cast<IFactoryClient*>(create(IFactoryClient::kComponentId, 0));
        ASSERT_NE(client_, nullptr);
    }
    // Dispatches this thread's messages until the modules are unloaded, or
    // gives up after two seconds.
    static bool DispatchUntilUnloaded(std::initializer_list<const char*> modules)
    {
        for (int slice = 0; slice < 40; ++slice) {
            Platform::DispatchMessagesFor(50);
            if (std::none_of(modules.begin(), modules.end(), IsLoaded)) return true;
        }
        return false;
    }
    // Drops a reference to a module that its owner, gone by now, never
    // frees, so that the next test starts without it.
    static void DropLeftoverReference(const char* module)
    {
        Platform::ReleaseModule(Platform::FindLoadedModule(module));
        EXPECT_FALSE(IsLoaded(module));
    }

    ScratchDirectory scratch_{"factory"};
    DebugCapture debug_;
    Platform::ModuleHandle clientModule_ = nullptr;
    IFactoryClient* client_ = nullptr;
};

}  // namespace Orvik::Testing
