// A client module obtains the factory and components through its bootstrap;
// a stand-in factory module (OrvFact.dll in this directory) writes every call
// it receives as a debugger line, which the tests read back.

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "orvik/module/module_exports.h"
#include "tests/bootstrap/modules/test_interfaces.h"
#include "tests/support/debug_capture.h"
#include "tests/support/test_paths.h"

namespace Orvik::Testing {
namespace {

using Lines = std::vector<std::string>;

// The lines of the framework, without the stand-in factory's own.
Lines Errors(const DebugCapture& capture)
{
    Lines errors;
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
std::string Called(const std::string& call, const void* pointer)
{
    return "[TestFactory] " + call + "(" + Hex(pointer) + ")\n";
}
std::string Released(const void* service) { return "[TestFactory] service " + Hex(service) + " released\n"; }

std::string InProgramDirectory(const char* name) { return ProgramDirectory() + "\\" + name; }

IComponent* CreateIn(Platform::ModuleHandle module, ComponentId id, uint32_t creator = 0)
{
    return FindModuleExport<Exports::CreateComponent>(module)(id, creator);
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
        probe_ = static_cast<IClientProbe*>(CreateIn(client_, IClientProbe::kComponentId));
        ASSERT_NE(probe_, nullptr);
    }
    void TearDown() override
    {
        if (probe_ != nullptr) probe_->Release(0);
        Platform::ReleaseModule(client_);
    }

    // The client's registry path: a profile in the scratch directory
    // naming dll as the factory module.
    void UseProfile(const char* name, const std::string& dll)
    {
        std::ofstream(scratch_.native() / name) << "[361]\nDLL=" << dll << "\n";
        SetRegistry(scratch_.Framework(name));
    }
    void SetRegistry(const std::string& path)
    {
        FindModuleExport<Exports::SetDLLRegistry>(client_)(path.c_str());
    }
    void UseProfileNamingTestFactory() { UseProfile("client.ini", InProgramDirectory("OrvFact.dll")); }

    ScratchDirectory scratch_{"bootstrap"};
    Platform::ModuleHandle client_ = nullptr;
    IClientProbe* probe_ = nullptr;
};

TEST_F(FactoryBootstrap, ProfileNamesTheFactoryModule)
{
    UseProfileNamingTestFactory();
    DebugCapture capture;
    EXPECT_NE(probe_->UseService(1), nullptr);
    EXPECT_EQ(Errors(capture), Lines{});
    EXPECT_EQ(capture.Count("[TestFactory] CreateComponentByID(7200, " + scratch_.Framework("client.ini") + ")\n"), 1u);
    EXPECT_NE(probe_->Factory(), nullptr);
    EXPECT_EQ(Platform::FindLoadedModule(InProgramDirectory("OrvFact.dll").c_str()),
              Platform::FindLoadedModule("OrvFact.dll"));
}

TEST_F(FactoryBootstrap, GivenFactoryHandleReadsNoProfile)
{
    ASSERT_NE(TestFactoryModule(), nullptr);
    FindModuleExport<Exports::SetFactoryHandle>(client_)(TestFactoryModule());
    SetRegistry(scratch_.Framework("no_such_profile.ini"));
    DebugCapture capture;
    EXPECT_NE(probe_->UseService(1), nullptr);
    EXPECT_EQ(Errors(capture), Lines{});
}

TEST_F(FactoryBootstrap, FailuresAreReportedAndTheNextSmartPointerTriesAgain)
{
    const struct {
        const char* profile;
        std::string dll;
        Lines lines;
    } failures[] = {
        {"bad.ini", scratch_.Framework("missing.dll"), {"[Orvik_Error] Load OrvFact.dll Fail.\n"}},
        {"no_export.ini", InProgramDirectory("..\\probe_a.dll"),
         {"[Orvik_Error] Can't find CreateComponent().\n",
          "[Orvik_Error] Create ComponentFactory in OrvFact.dll Fail\n"}},
        {"no_factory.ini", InProgramDirectory("..\\alpha.dll"),
         {"Orvik[Error]: Can't find the factory method of Component\n", "Orvik[Error]: ComponentID=361 CreatorID=0",
          "[Orvik_Error] CreateComponent(ComponentId=361) return null.\n",
          "[Orvik_Error] Create ComponentFactory in OrvFact.dll Fail\n"}},
    };
    for (const auto& failure : failures) {
        UseProfile(failure.profile, failure.dll);
        DebugCapture capture;
        EXPECT_EQ(probe_->UseService(1), nullptr);
        EXPECT_EQ(capture.lines(), failure.lines);
        EXPECT_EQ(probe_->Factory(), nullptr);
    }
    UseProfileNamingTestFactory();
    EXPECT_NE(probe_->UseService(1), nullptr);
    EXPECT_NE(probe_->Factory(), nullptr);
}

TEST_F(FactoryBootstrap, SmartPointersReleaseOnlyWhatTheyShould)
{
    UseProfileNamingTestFactory();
    DebugCapture capture;
    ITestService* released = probe_->UseService(1);
    ASSERT_NE(released, nullptr);
    EXPECT_EQ(capture.Count(Called("IsRegisteredInstance", released)), 1u);
    EXPECT_EQ(capture.Count(Released(released)), 1u);
    // The allocator may hand the next service the same address.
    capture.Take();

    ITestService* kept = probe_->UseService(0);
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(kept->Value(), 42) << "n = 0 leaves the component alive";
    EXPECT_EQ(kept->GetAutoRelease(), 1u) << "and marked for OrvikDllFreeMap";
    EXPECT_EQ(capture.Count(Released(kept)), 0u);
    kept->Release(0);
    EXPECT_EQ(capture.Count(Released(kept)), 1u);
}

TEST_F(FactoryBootstrap, SingletonIsRegisteredAndNeverReleasedBySmartPointers)
{
    UseProfileNamingTestFactory();
    DebugCapture capture;
    IComponent* shared = CreateIn(client_, 7300, 361);
    ASSERT_NE(shared, nullptr);
    EXPECT_EQ(capture.Count("[TestFactory] RegisterInstance(7300, " + Hex(shared) + ")\n"), 1u);
    // The registration's own smart pointer released the factory with force 0,
    // which the factory ignores: it still serves.
    IComponent* factory = probe_->Factory();
    ASSERT_NE(factory, nullptr);
    EXPECT_EQ(capture.Count(Called("IsRegisteredInstance", factory)), 1u);
    EXPECT_EQ(factory->GetComponentID(), 361u);

    EXPECT_EQ(probe_->UseSharedService(), shared);
    EXPECT_EQ(capture.Count(Called("IsRegisteredInstance", shared)), 1u);
    EXPECT_EQ(shared->GetComponentID(), 7300u) << "the registered instance is alive";
}

TEST_F(FactoryBootstrap, LastComponentGoneSendsOneIdleNotice)
{
    UseProfileNamingTestFactory();
    DebugCapture capture;
    probe_->Release(0);
    probe_ = nullptr;
    EXPECT_EQ(capture.Count(Called("NotifyModuleIdle", client_)), 1u);
    EXPECT_EQ(Errors(capture), Lines{});
}

class RootPath : public FactoryBootstrap {
protected:
    void SetUp() override
    {
        FactoryBootstrap::SetUp();
        ASSERT_NE(TestFactoryModule(), nullptr);
        control_ = static_cast<IRegisterControl*>(CreateIn(TestFactoryModule(), IRegisterControl::kComponentId));
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
    for (const char* call : {"CreateComponentByID(991, (null))", "OpenKey(0x3ffffff4, orvik_rootpath, 1, 0x3ffffff4)",
                             "QueryValue(77, orvik_rootpath_data, 1, 260)"}) {
        EXPECT_EQ(capture.Count("[TestFactory] " + std::string(call) + "\n"), 1u) << call;
    }
    EXPECT_EQ(Errors(capture), Lines{}) << "no profile was needed";

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
    for (int32_t mode :
         {IRegisterControl::kOpenKeyFails, IRegisterControl::kQueryValueFails, IRegisterControl::kAbsent}) {
        FactoryBootstrap::TearDown();
        FactoryBootstrap::SetUp();  // a fresh client: the root path is kept per module
        control_->SetMode(mode, "C:\\Unused");
        EXPECT_EQ(std::string(probe_->RootPath()), ProgramDirectory()) << "mode " << mode;
    }
}

}  // namespace
}  // namespace Orvik::Testing
