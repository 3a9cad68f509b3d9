// A client module obtains the factory and components through its bootstrap;
// a stand-in factory module (OrvFact.dll in this directory) writes every call
// it receives as a debugger line, which the tests read back.

#include <gtest/gtest.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "module/module_exports.h"
#include "platform/debug_output.h"
#include "tests/bootstrap/modules/test_interfaces.h"
#include "tests/support/debug_capture.h"
#include "tests/support/test_paths.h"

namespace Orvik {
namespace {

using Testing::IClientProbe;
using Testing::IRegisterControl;
using Testing::ITestService;

using Testing::DebugCapture;

// The lines of the framework, without the stand-in factory's own.
std::vector<std::string> Errors(const DebugCapture& capture)
{
    std::vector<std::string> errors;
    for (const std::string& line : capture.lines()) {
        if (line.find("[TestFactory]") == std::string::npos) errors.push_back(line);
    }
    return errors;
}

std::string Hex(const void* pointer)
{
    char text[32];
    std::snprintf(text, sizeof text, "%" PRIxPTR, reinterpret_cast<uintptr_t>(pointer));
    return text;
}

std::string InProgramDirectory(const char* name) { return Testing::ProgramDirectory() + "\\" + name; }

template <typename Function>
Function Export(Platform::ModuleHandle module, const char* name)
{
    return reinterpret_cast<Function>(Platform::FindExport(module, name));
}

// The stand-in factory module, loaded by the test itself. Like any factory
// module it stays loaded for good: client modules keep pointers into it
// without holding a reference.
Platform::ModuleHandle TestFactoryModule()
{
    static const Platform::ModuleHandle module = Platform::LoadModule(InProgramDirectory("OrvFact.dll").c_str());
    return module;
}

class FactoryBootstrap : public ::testing::Test {
protected:
    void SetUp() override
    {
        client_ = Platform::LoadModule(InProgramDirectory("client.dll").c_str());
        ASSERT_NE(client_, nullptr);
        probe_ = static_cast<IClientProbe*>(
            Export<CreateComponentExport>(client_, "CreateComponent")(IClientProbe::kComponentId, 0));
        ASSERT_NE(probe_, nullptr);
    }
    void TearDown() override
    {
        if (probe_ != nullptr) probe_->Release(0);
        Platform::ReleaseModule(client_);
    }

    // A profile in the scratch directory naming dll as the factory module.
    std::string Profile(const char* name, const std::string& dll)
    {
        std::ofstream(scratch_.native() / name) << "[361]\nDLL=" << dll << "\n";
        return scratch_.Framework(name);
    }
    void SetRegistry(const std::string& path) { Export<SetDllRegistryExport>(client_, "SetDLLRegistry")(path.c_str()); }
    void UseProfileNamingTestFactory() { SetRegistry(Profile("client.ini", InProgramDirectory("OrvFact.dll"))); }

    Testing::ScratchDirectory scratch_{"bootstrap"};
    Platform::ModuleHandle client_ = nullptr;
    IClientProbe* probe_ = nullptr;
};

TEST_F(FactoryBootstrap, ProfileNamesTheFactoryModule)
{
    UseProfileNamingTestFactory();
    DebugCapture capture;
    EXPECT_NE(probe_->UseService(1), nullptr);
    EXPECT_TRUE(Errors(capture).empty());
    EXPECT_EQ(capture.Count("[TestFactory] CreateComponentByID(7200, " + scratch_.Framework("client.ini") + ")\n"), 1u);
    EXPECT_NE(probe_->Factory(), nullptr);
    EXPECT_EQ(Platform::FindLoadedModule(InProgramDirectory("OrvFact.dll").c_str()),
              Platform::FindLoadedModule("OrvFact.dll"));
}

TEST_F(FactoryBootstrap, GivenFactoryHandleReadsNoProfile)
{
    Platform::ModuleHandle factoryModule = TestFactoryModule();
    ASSERT_NE(factoryModule, nullptr);
    Export<SetFactoryHandleExport>(client_, "SetFactoryHandle")(factoryModule);
    SetRegistry(scratch_.Framework("no_such_profile.ini"));
    DebugCapture capture;
    EXPECT_NE(probe_->UseService(1), nullptr);
    EXPECT_TRUE(Errors(capture).empty()) << Errors(capture).front();
}

TEST_F(FactoryBootstrap, FailedLoadWritesOneLineAndIsTriedAgain)
{
    SetRegistry(Profile("bad.ini", scratch_.Framework("missing.dll")));
    {
        DebugCapture capture;
        EXPECT_EQ(probe_->UseService(1), nullptr);
        EXPECT_EQ(capture.lines(), std::vector<std::string>{"[Orvik_Error] Load OrvFact.dll Fail.\n"});
        EXPECT_EQ(probe_->Factory(), nullptr);
    }
    UseProfileNamingTestFactory();
    EXPECT_NE(probe_->UseService(1), nullptr) << "the next smart pointer tries again";
    EXPECT_NE(probe_->Factory(), nullptr);
}

TEST_F(FactoryBootstrap, ModuleWithoutFactoryIsReported)
{
    SetRegistry(Profile("no_export.ini", InProgramDirectory("..\\probe_a.dll")));
    {
        DebugCapture capture;
        EXPECT_EQ(probe_->UseService(1), nullptr);
        EXPECT_EQ(capture.lines(), (std::vector<std::string>{"[Orvik_Error] Can't find CreateComponent().\n",
                                                             "[Orvik_Error] Create ComponentFactory in OrvFact.dll Fail\n"}));
    }
    SetRegistry(Profile("no_factory.ini", InProgramDirectory("..\\alpha.dll")));
    DebugCapture capture;
    EXPECT_EQ(probe_->UseService(1), nullptr);
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{"Orvik[Error]: Can't find the factory method of Component\n",
                                                         "Orvik[Error]: ComponentID=361 CreatorID=0",
                                                         "[Orvik_Error] CreateComponent(ComponentId=361) return null.\n",
                                                         "[Orvik_Error] Create ComponentFactory in OrvFact.dll Fail\n"}));
    EXPECT_EQ(probe_->Factory(), nullptr);
}

TEST_F(FactoryBootstrap, SmartPointersReleaseOnlyWhatTheyShould)
{
    UseProfileNamingTestFactory();
    {
        DebugCapture capture;
        ITestService* released = probe_->UseService(1);
        ASSERT_NE(released, nullptr);
        EXPECT_EQ(capture.Count("[TestFactory] IsRegisteredInstance(" + Hex(released) + ")\n"), 1u);
        EXPECT_EQ(capture.Count("[TestFactory] service " + Hex(released) + " released\n"), 1u);
    }
    DebugCapture capture;
    ITestService* kept = probe_->UseService(0);
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(kept->Value(), 42) << "n = 0 leaves the component alive";
    EXPECT_EQ(kept->GetAutoRelease(), 1u) << "and marked for OrvikDllFreeMap";
    EXPECT_EQ(capture.Count("[TestFactory] service " + Hex(kept) + " released\n"), 0u);
    kept->Release(0);
    EXPECT_EQ(capture.Count("[TestFactory] service " + Hex(kept) + " released\n"), 1u);
}

TEST_F(FactoryBootstrap, SingletonIsRegisteredAndNeverReleasedBySmartPointers)
{
    UseProfileNamingTestFactory();
    DebugCapture capture;
    IComponent* shared = Export<CreateComponentExport>(client_, "CreateComponent")(7300, 361);
    ASSERT_NE(shared, nullptr);
    EXPECT_EQ(capture.Count("[TestFactory] RegisterInstance(7300, " + Hex(shared) + ")\n"), 1u);
    // The registration's own smart pointer released the factory with force 0,
    // which the factory ignores: it still serves.
    IComponent* factory = probe_->Factory();
    ASSERT_NE(factory, nullptr);
    EXPECT_EQ(capture.Count("[TestFactory] IsRegisteredInstance(" + Hex(factory) + ")\n"), 1u);
    EXPECT_EQ(factory->GetComponentID(), 361u);

    EXPECT_EQ(probe_->UseSharedService(), shared);
    EXPECT_EQ(capture.Count("[TestFactory] IsRegisteredInstance(" + Hex(shared) + ")\n"), 1u);
    EXPECT_EQ(shared->GetComponentID(), 7300u) << "the registered instance is alive";
}

TEST_F(FactoryBootstrap, LastComponentGoneSendsOneIdleNotice)
{
    UseProfileNamingTestFactory();
    DebugCapture capture;
    probe_->Release(0);
    probe_ = nullptr;
    EXPECT_EQ(capture.Count("[TestFactory] NotifyModuleIdle(" + Hex(client_) + ")\n"), 1u);
    EXPECT_TRUE(Errors(capture).empty());
}

class RootPath : public FactoryBootstrap {
protected:
    void SetUp() override
    {
        FactoryBootstrap::SetUp();
        ASSERT_NE(TestFactoryModule(), nullptr);
        control_ = static_cast<IRegisterControl*>(
            Export<CreateComponentExport>(TestFactoryModule(), "CreateComponent")(IRegisterControl::kComponentId, 0));
        ASSERT_NE(control_, nullptr);
    }
    void TearDown() override
    {
        control_->SetMode(IRegisterControl::kAbsent, "");
        control_->Release(0);
        FactoryBootstrap::TearDown();
    }
    IRegisterControl* control_ = nullptr;
};

TEST_F(RootPath, ComesFromTheRegisterOfTheLoadedFactoryModule)
{
    control_->SetMode(IRegisterControl::kAnswers, "C:\\Orvik\\Root");
    DebugCapture capture;
    EXPECT_STREQ(probe_->RootPath(), "C:\\Orvik\\Root");
    EXPECT_EQ(capture.Count("[TestFactory] CreateComponentByID(991, (null))\n"), 1u);
    EXPECT_EQ(capture.Count("[TestFactory] OpenKey(0x3ffffff4, orvik_rootpath, 1, 0x3ffffff4)\n"), 1u);
    EXPECT_EQ(capture.Count("[TestFactory] QueryValue(77, orvik_rootpath_data, 1, 260)\n"), 1u);
    EXPECT_TRUE(Errors(capture).empty()) << "no profile was needed";

    control_->SetMode(IRegisterControl::kAnswers, "C:\\Elsewhere");
    EXPECT_STREQ(probe_->RootPath(), "C:\\Orvik\\Root") << "kept once found";
}

TEST_F(RootPath, EmptyAnswerIsAskedAgain)
{
    control_->SetMode(IRegisterControl::kAnswers, "");
    EXPECT_STREQ(probe_->RootPath(), "");
    control_->SetMode(IRegisterControl::kAnswers, "C:\\Later");
    EXPECT_STREQ(probe_->RootPath(), "C:\\Later");
}

TEST_F(RootPath, FallsBackToTheHostDirectory)
{
    const std::string host = Testing::ProgramDirectory();
    for (int32_t mode : {IRegisterControl::kOpenKeyFails, IRegisterControl::kQueryValueFails, IRegisterControl::kAbsent}) {
        FactoryBootstrap::TearDown();
        FactoryBootstrap::SetUp();  // a fresh client: the root path is kept per module
        control_->SetMode(mode, "C:\\Unused");
        EXPECT_EQ(std::string(probe_->RootPath()), host) << "mode " << mode;
        EXPECT_NE(host.back(), '\\');
    }
}

}  // namespace
}  // namespace Orvik
