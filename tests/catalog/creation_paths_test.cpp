// A catalog creates a component through the id's section, a scanned module
// or the default module, tells providers what they need, and frees or
// forgets modules without ever calling into one that is gone.

#include <filesystem>
#include <tuple>

#include "orvik/module/module_runtime.h"
#include "tests/catalog/provider_fixture.h"

namespace Orvik::Testing {
namespace {

using CatalogCreation = CatalogFixture;
using CatalogModuleRecords = CatalogFixture;
using CatalogLogSettings = CatalogFixture;

CallCounts CountsOf(const char* module)
{
    CallCounts counts = {};
    auto read = reinterpret_cast<ReadCallCountsExport>(Platform::FindExport(Loaded(module), "ReadCallCounts"));
    if (read != nullptr) read(&counts);
    return counts;
}

std::string RegistryPathOf(IComponent* component)
{
    char path[Platform::kMaxPath] = {};
    Probe(component)->CopyRegistryPath(path, sizeof path);
    return path;
}

TEST_F(CatalogCreation, FailedRequestsWriteTheirLinesAtEveryRequestAndTryNoOtherPath)
{
    const std::string noFactory = "Orvik[Error]: Can't find the factory method of Component\n";
    const std::string sectionLoad = "[Orvik_Error] LoadLibrary Fail(" + Program("missing.dll") + "). ErrorCode(126)\n";
    const std::string noDefaultCreate = "[Orvik_Error] Can't find CreateComponent() in Default Component DLL.\n";
    const struct {
        std::string file;
        std::vector<ComponentId> ids;
        Lines lines;
        const char* keptLoaded;  // released once afterwards
    } cases[] = {
        // The section decides even when its module does not load.
        {"dlls=cat_first.dll\n[10]\ndll=missing.dll\n", {10, 10}, {sectionLoad, sectionLoad}, nullptr},
        {"[50]\ndll=cat_nocreate.dll\n", {50},
         {"[Orvik_Error] Can't find CreateComponent().\n", "[Orvik_Error] DLL:" + Program("cat_nocreate.dll") + "\n"},
         "cat_nocreate.dll"},
        // An id the scan does not know never reaches the default module.
        {"dlls=cat_first.dll\ndefaultdll=cat_counter.dll\n", {1000},
         {"[Orvik_Error] Can't find Component(1000) Creator From Dll List!\n"}, nullptr},
        // A default module that does not load is reported once, with the last error when none is named.
        {"", {10, 10}, {"[Orvik_Error] LoadLibrary() Fail. ErrorCode(1234)\n"}, nullptr},
        {"defaultdll=missing.dll\n", {10, 10},
         {"[Orvik_Error] LoadLibrary(" + Program("missing.dll") + ") Fail. ErrorCode(126)\n"}, nullptr},
        {"defaultdll=cat_first.dll\n", {99},
         {noFactory, "Orvik[Error]: ComponentID=99 CreatorID=361",
          "[Orvik_Error] CreateComponent(ComponentId=99) return null.\n"},
         "cat_first.dll"},
        {"defaultdll=cat_nocreate.dll\n", {50, 50}, {noDefaultCreate, noDefaultCreate}, "cat_nocreate.dll"},
        {"dlls=cat_second.dll,cat_nocreate.dll\n", {21, 50, 50},
         {"Orvik[Error]:CreateComponent method return NULL.\n", "Orvik[Error]: ComponentID=21 CreatorID=361",
          "[Orvik_Error] CreateComponent(ComponentId=21) return null.\n", "[Orvik_Error] InitOrvikModule Fail.\n",
          "[Orvik_Error] InitOrvikModule Fail.\n"},
         "cat_nocreate.dll"},
    };
    for (const auto& c : cases) {
        Load(c.file);
        Platform::SetLastErrorCode(1234);
        DebugCapture debug;
        for (ComponentId id : c.ids) EXPECT_EQ(nullptr, Create(id)) << c.file << id;
        EXPECT_EQ(c.lines, debug.lines()) << c.file;
        catalog_.reset();
        if (c.keptLoaded == nullptr) continue;
        EXPECT_NE(nullptr, Loaded(c.keptLoaded)) << c.file;
        Platform::ReleaseModule(Loaded(c.keptLoaded));
    }
}

TEST_F(CatalogCreation, SectionPathsResolveByTheirKind)
{
    auto& catalog = Load("[50]\ndll=" + Program("cat_nocreate.dll") +
                         "\n[51]\nnotusedefaultdllpath=1\ndll=cat_nocreate.dll\n[52]\ndll=sub\\x.dll\n");
    for (ComponentId id : {50, 51, 52}) Inspect(catalog).ResolveConfigDllPath(Inspect(catalog).configRecords.at(id));
    EXPECT_EQ(Program("cat_nocreate.dll"), Inspect(catalog).Section(50)->fullPath);
    EXPECT_EQ(scratch_.Framework("cat_nocreate.dll"), Inspect(catalog).Section(51)->fullPath);
    EXPECT_EQ(Program("sub\\x.dll"), Inspect(catalog).Section(52)->fullPath);
}

TEST_F(CatalogCreation, DefaultModuleNeedsOnlyCreateComponent)
{
    Load("defaultdll=cat_first.dll\n");
    IComponent* component = Create(10);
    ASSERT_NE(nullptr, component);
    EXPECT_EQ(kFirstTag, Probe(component)->ModuleTag());
    EXPECT_EQ(configPath_, RegistryPathOf(component));
    component->Release(0);
    Platform::ReleaseModule(Inspect(*catalog_).defaultDllModule);

    Load("defaultdll=cat_noids.dll\n");
    IComponent* bare = Create(5);
    ASSERT_NE(nullptr, bare);
    EXPECT_EQ(kNoIdsTag, Probe(bare)->ModuleTag());
    Platform::ReleaseModule(Inspect(*catalog_).defaultDllModule);
}

TEST_F(CatalogCreation, ScannedModuleIsToldOncePerIdAndItsEntryPointCached)
{
    auto& catalog = Load("dlls=cat_counter.dll\n");
    IComponent* component = Create(1000);
    ASSERT_NE(nullptr, component);
    Create(1000);
    Create(1001);
    const CallCounts counts = CountsOf("cat_counter.dll");
    EXPECT_EQ(2, counts.setRegistryCalls);
    EXPECT_EQ(2, counts.setFactoryCalls);
    EXPECT_EQ(3, counts.createCalls);
    EXPECT_EQ(361u, counts.lastCreatorId);
    EXPECT_EQ(ThisModuleHandle(), counts.lastFactoryHandle);
    EXPECT_EQ(configPath_, RegistryPathOf(component));
    EXPECT_NE(nullptr, Inspect(catalog).dllListRecords.at(1001).createComponent);
    EXPECT_EQ(nullptr, Inspect(catalog).dllListRecords.at(1002).createComponent);
}

TEST_F(CatalogModuleRecords, SectionModulesAreToldEveryTimeAndFreedForEverySection)
{
    auto& catalog = Load("[1000]\ndll=cat_counter.dll\n[1001]\ndll=cat_counter.dll\n");
    ASSERT_NE(nullptr, Create(1000));
    Create(1000);
    Create(1001);
    CallCounts counts = CountsOf("cat_counter.dll");
    EXPECT_EQ(3, counts.setRegistryCalls);
    EXPECT_EQ(3, counts.setFactoryCalls);
    EXPECT_EQ(3, counts.createCalls);

    // Loaded once per section, so freed twice: the module leaves memory.
    catalog.FreeModule(Loaded("cat_counter.dll"));
    EXPECT_EQ(nullptr, Loaded("cat_counter.dll"));
    for (ComponentId id : {1000, 1001}) {
        const SectionModule* section = Inspect(catalog).Section(id);
        ASSERT_NE(nullptr, section);
        EXPECT_EQ(nullptr, section->module);
        EXPECT_FALSE(section->fullPath.empty());
    }
    ASSERT_NE(nullptr, Create(1001));
    counts = CountsOf("cat_counter.dll");
    EXPECT_EQ(1, counts.createCalls);
    catalog.FreeModule(Inspect(catalog).Section(1001)->module);
}

TEST_F(CatalogModuleRecords, ForgottenModuleIsLoadedAgainAndListedOnceMore)
{
    auto& catalog = Load("dlls=cat_first.dll\n");
    IComponent* ten = Create(10);
    ASSERT_NE(nullptr, ten);
    const Platform::ModuleHandle module = Loaded("cat_first.dll");
    catalog.ClearModuleRecords(module);
    for (ComponentId id : {10, 11, 30}) {
        EXPECT_EQ(nullptr, Inspect(catalog).dllListRecords.at(id).module);
        EXPECT_EQ(nullptr, Inspect(catalog).dllListRecords.at(id).createComponent);
    }

    IComponent* eleven = Create(11);
    ASSERT_NE(nullptr, eleven);
    EXPECT_EQ(kFirstTag, Probe(ten)->ModuleTag());
    EXPECT_EQ((std::list<Platform::ModuleHandle>{module, module}), Inspect(catalog).dllListModules);
    for (ComponentId id : {10, 11, 30}) EXPECT_EQ(module, Inspect(catalog).dllListRecords.at(id).module);
    EXPECT_EQ(nullptr, Inspect(catalog).dllListRecords.at(10).createComponent);
    ten->Release(0);
    eleven->Release(0);
}

TEST_F(CatalogModuleRecords, FreedScannedModuleIsNeverCalledButLoadedAgainByName)
{
    CopyModule("cat_counter.dll", "late.dll");
    auto& catalog = Load("dlls=late.dll\n", scratch_.Framework());
    ASSERT_NE(nullptr, Create(1000));
    catalog.FreeModule(Inspect(catalog).dllListRecords.at(1000).module);
    EXPECT_EQ(nullptr, Loaded("late.dll"));
    EXPECT_TRUE(Inspect(catalog).dllListModules.empty());
    EXPECT_EQ(nullptr, Inspect(catalog).dllListRecords.at(1000).createComponent);

    std::filesystem::remove(scratch_.native() / "late.dll");
    {
        DebugCapture debug;
        EXPECT_EQ(nullptr, Create(1000));
        EXPECT_EQ((Lines{"[Orvik_Error] LoadLibrary(late.dll) Fail. ErrorCode(126)\n",
                         "[Orvik_Error] InitOrvikModule Fail.\n"}),
                  debug.lines());
    }
    CopyModule("cat_counter.dll", "late.dll");
    IComponent* component = Create(1000);
    ASSERT_NE(nullptr, component);
    EXPECT_EQ(kCounterTag, Probe(component)->ModuleTag());
    EXPECT_EQ(1u, Inspect(catalog).dllListModules.size());
    EXPECT_EQ(1, CountsOf("late.dll").setRegistryCalls);
}

TEST_F(CatalogLogSettings, SectionMasksWinWhenTheSectionSetsAnyLogKey)
{
    auto& catalog = Load("[logdefault]\noutputdebugstring=WE\nwritetologfile=T\nMaxFileCount=3\nMaxFileSize=10\n"
                         "[120]\nwritetologfile=E\n[130]\ndll=x.dll\n");
    for (const auto& [id, debugExpected, fileExpected] :
         {std::tuple{120u, 0u, 0x01u}, {130u, 0x11u, 0x02u}, {999u, 0x11u, 0x02u}}) {
        uint32_t debugMask = 99, fileMask = 99;
        catalog.GetLogSetting(id, &debugMask, &fileMask);
        EXPECT_EQ(debugExpected, debugMask) << id;
        EXPECT_EQ(fileExpected, fileMask) << id;
    }
    uint32_t count = 0, size = 0;
    catalog.GetLogFileLimits(&count, &size);
    EXPECT_EQ(3u, count);
    EXPECT_EQ(10u << 20, size);
}

}  // namespace
}  // namespace Orvik::Testing
