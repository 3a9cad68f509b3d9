#include "tests/factory/factory_fixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "module/module_exports.h"
#include "platform/debug_output.h"
#include "platform/thread_timer.h"

namespace Orvik {
namespace Testing {

namespace {

const char* const kProviders[] = {"fact_alpha.dll", "fact_beta.dll",    "fact_gamma.dll",
                                  "fact_shared.dll", "fact_preload.dll", "fact_bare.dll"};

std::string ScratchName()
{
    const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string("factory_") + test->test_suite_name() + "_" + test->name();
    std::replace(name.begin(), name.end(), '/', '_');
    return name;
}

void WriteFile(const std::filesystem::path& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

std::filesystem::path OrvikIni() { return NativePath(InProgramDirectory("Orvik.ini")); }

}  // namespace

std::string InProgramDirectory(const std::string& name) { return ProgramDirectory() + "\\" + name; }

bool IsLoaded(const char* module) { return Platform::FindLoadedModule(module) != nullptr; }

FactoryTest::FactoryTest() : scratch_(ScratchName()) {}

void FactoryTest::SetUp()
{
    WriteOrvikIni("");
    LoadClient();
}

void FactoryTest::TearDown()
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
    std::filesystem::remove(OrvikIni());
    EXPECT_FALSE(IsLoaded("fact_client.dll"));
    for (const char* provider : kProviders) EXPECT_FALSE(IsLoaded(provider)) << provider << " left loaded";
}

void FactoryTest::WriteOrvikIni(const std::string& body) { WriteFile(OrvikIni(), "[361]\nDLL=..\\OrvFact.dll\n" + body); }

std::string FactoryTest::WriteConfig(const std::string& name, const std::string& body)
{
    WriteFile(scratch_.native() / name, "dllpath=" + ProgramDirectory() + "\n[361]\ndll=" +
                                            InProgramDirectory("..\\OrvFact.dll") + "\n" + body);
    return scratch_.Framework(name);
}

void FactoryTest::SetRegistry(const std::string& path)
{
    reinterpret_cast<SetDllRegistryExport>(Platform::FindExport(clientModule_, "SetDLLRegistry"))(path.c_str());
}

ProbeReport FactoryTest::Use(ComponentId id)
{
    ProbeReport report{};
    client_->Use(id, &report);
    return report;
}

void FactoryTest::UnloadIdleProviders()
{
    IOrvikComponentFactory* factory = Factory();
    for (const char* provider : kProviders) {
        if (Platform::ModuleHandle module = Platform::FindLoadedModule(provider)) factory->TryUnloadModule(module);
    }
}

void FactoryTest::EndFactory()
{
    IOrvikComponentFactory* factory = Factory();
    client_->Release(0);
    client_ = nullptr;
    factory->Release(1);
    Platform::ReleaseModule(clientModule_);
    clientModule_ = nullptr;
}

void FactoryTest::LoadClient()
{
    clientModule_ = Platform::LoadModule(InProgramDirectory("fact_client.dll").c_str());
    ASSERT_NE(clientModule_, nullptr);
    auto create = reinterpret_cast<CreateComponentExport>(Platform::FindExport(clientModule_, "CreateComponent"));
    client_ = static_cast<IFactoryClient*>(create(IFactoryClient::kComponentId, 0));
    ASSERT_NE(client_, nullptr);
}

bool FactoryTest::DispatchUntilUnloaded(std::initializer_list<const char*> modules)
{
    for (int slice = 0; slice < 40; ++slice) {
        Platform::DispatchMessagesFor(50);
        if (std::none_of(modules.begin(), modules.end(), IsLoaded)) return true;
    }
    return false;
}

void FactoryTest::DropLeftoverReference(const char* module)
{
    Platform::ReleaseModule(Platform::FindLoadedModule(module));
    EXPECT_FALSE(IsLoaded(module));
}

}  // namespace Testing
}  // namespace Orvik
