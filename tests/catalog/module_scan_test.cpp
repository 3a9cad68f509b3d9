// The catalog learns which scanned module provides which id, remembers the
// names that failed, preloads dependent modules and frees what it loaded.

#include <cstring>
#include <utility>

#include "catalog/catalog_observer.h"
#include "tests/catalog/provider_fixture.h"

namespace Orvik::Testing {
namespace {

using CatalogScan = CatalogFixture;
using CatalogPreload = CatalogFixture;
using CatalogDestruction = CatalogFixture;

std::vector<ComponentId> RecordedIds(const CComponentClassInfoList& catalog)
{
    std::vector<ComponentId> ids;
    for (const auto& entry : Inspect(catalog).dllListRecords) ids.push_back(entry.first);
    return ids;
}

TEST_F(CatalogScan, FirstRequestScansEveryModuleEvenForASectionIdButTheFactoryNever)
{
    auto& catalog = Load("dlls=cat_first.dll, cat_second.dll\n[1000]\ndll=cat_counter.dll\n");
    {
        DebugCapture debug;
        EXPECT_EQ(nullptr, Create(361));
        EXPECT_EQ(Lines{"[Orvik_Error] Can't find Component(361) Creator From Dll List!\n"}, debug.lines());
    }
    EXPECT_EQ(0, Inspect(catalog).dllListScanned);
    EXPECT_EQ(nullptr, Loaded("cat_first.dll"));

    IComponent* counter = Create(1000);
    ASSERT_NE(nullptr, counter);
    EXPECT_EQ(kCounterTag, Probe(counter)->ModuleTag());
    EXPECT_EQ(1, Inspect(catalog).dllListScanned);
    EXPECT_STREQ("", Inspect(catalog).dllList);
    EXPECT_EQ((std::list<Platform::ModuleHandle>{Loaded("cat_first.dll"), Loaded("cat_second.dll")}),
              Inspect(catalog).dllListModules);
    EXPECT_EQ((std::vector<ComponentId>{10, 11, 20, 21, 30}), RecordedIds(catalog));
    EXPECT_STREQ("cat_second.dll", Inspect(catalog).dllListRecords.at(20).dllName);

    // Both report 30: the later module of the list owns it.
    IComponent* thirty = Create(30);
    ASSERT_NE(nullptr, thirty);
    EXPECT_EQ(kSecondTag, Probe(thirty)->ModuleTag());
    thirty->Release(0);
    catalog.FreeModule(Inspect(catalog).Section(1000)->module);
}

// Scans the catalog again while the re-entrant module loads, as a module
// whose initialisation asks the factory for a component would.
class NestedScan {
public:
    explicit NestedScan(CComponentClassInfoList& catalog) : catalog_(catalog) { Platform::SetDebugSink(Reenter, this); }
    ~NestedScan() { Platform::SetDebugSink(nullptr, nullptr); }
    NestedScan(const NestedScan&) = delete;
    NestedScan& operator=(const NestedScan&) = delete;

private:
    static void Reenter(const char* text, void* self)
    {
        if (std::strcmp(text, kReentrantLoadingLine) == 0) Inspect(static_cast<NestedScan*>(self)->catalog_).ScanDllList();
    }
    CComponentClassInfoList& catalog_;
};

TEST_F(CatalogScan, ScanGoesOnWhereANestedScanLeftTheList)
{
    auto& catalog = Load("dlls=cat_reenter.dll,cat_first.dll\n");
    {
        NestedScan nested(catalog);
        Inspect(catalog).ScanDllList();
    }
    // The nested scan did all; the outer one records nothing of its own.
    EXPECT_EQ((std::list<Platform::ModuleHandle>{Loaded("cat_reenter.dll"), Loaded("cat_first.dll")}),
              Inspect(catalog).dllListModules);
    EXPECT_EQ((std::vector<ComponentId>{10, 11, 30, 60}), RecordedIds(catalog));
    // The outer scan's own reference is neither recorded nor freed.
    Platform::ReleaseModule(Loaded("cat_reenter.dll"));

    auto& stopped = Load("dlls=cat_reenter.dll,,cat_first.dll\n");
    {
        NestedScan nested(stopped);
        Inspect(stopped).ScanDllList();
    }
    EXPECT_EQ(std::list<Platform::ModuleHandle>{Loaded("cat_reenter.dll")}, Inspect(stopped).dllListModules);
    EXPECT_STREQ(",cat_first.dll", Inspect(stopped).dllList);
    Platform::ReleaseModule(Loaded("cat_reenter.dll"));
}

TEST_F(CatalogScan, NameTwiceLoadsTwiceAnEmptyItemEndsTheScanAndATabStaysInTheName)
{
    auto& twice = Load("dlls=cat_first.dll,cat_first.dll\n");
    Inspect(twice).ScanDllList();
    EXPECT_EQ(2u, Inspect(twice).dllListModules.size());
    EXPECT_EQ(Inspect(twice).dllListModules.front(), Inspect(twice).dllListModules.back());

    auto& catalog = Load("dlls=cat_first.dll,,cat_second.dll\n");
    Inspect(catalog).ScanDllList();
    EXPECT_EQ(1u, Inspect(catalog).dllListModules.size());
    EXPECT_STREQ(",cat_second.dll", Inspect(catalog).dllList);
    EXPECT_EQ(nullptr, Loaded("cat_second.dll"));

    auto& tabbed = Load("dlls=cat_first.dll,\tcat_second.dll,\n");
    DebugCapture debug;
    Inspect(tabbed).ScanDllList();
    EXPECT_EQ(1u, Inspect(tabbed).dllListModules.size());
    EXPECT_STREQ("\tcat_second.dll", Inspect(tabbed).failedDlls);
    ASSERT_EQ(1u, debug.lines().size());
    // The code for a name holding a tab differs between platforms.
    EXPECT_EQ(0u, debug.lines()[0].find("[Orvik_Error] LoadLibrary(" + Program("\tcat_second.dll") + ") Fail. ErrorCode("));
}

TEST_F(CatalogScan, FailedNamesAreListedOnceAndRetriedOnRequest)
{
    auto& catalog = Load("dlls=late.dll,late.dll, xlate.dll\n", scratch_.Framework());
    DebugCapture debug;
    Inspect(catalog).ScanDllList();
    EXPECT_STREQ("late.dll,xlate.dll", Inspect(catalog).failedDlls);
    const std::string late = "[Orvik_Error] LoadLibrary(" + scratch_.Framework("late.dll") + ") Fail. ErrorCode(126)\n";
    const std::string xlate = "[Orvik_Error] LoadLibrary(" + scratch_.Framework("xlate.dll") + ") Fail. ErrorCode(126)\n";
    EXPECT_EQ((Lines{late, late, xlate}), debug.lines());

    // The module reports 600 ids; the scan takes the first 512.
    CopyModule("cat_counter.dll", "late.dll");
    catalog.RescanFailedDlls();
    EXPECT_STREQ("xlate.dll", Inspect(catalog).failedDlls);
    EXPECT_STREQ("", Inspect(catalog).dllList);
    ASSERT_EQ(512u, Inspect(catalog).dllListRecords.size());
    EXPECT_EQ(1000u, Inspect(catalog).dllListRecords.begin()->first);
    EXPECT_EQ(1511u, Inspect(catalog).dllListRecords.rbegin()->first);
    EXPECT_STREQ("late.dll", Inspect(catalog).dllListRecords.at(1511).dllName);
}

TEST_F(CatalogScan, NameFoundInsideAFailedOneIsNotAddedAndNothingFailedMeansNoRetry)
{
    auto& catalog = Load("dlls=xa.dll,a.dll\n");
    Inspect(catalog).ScanDllList();
    EXPECT_STREQ("xa.dll", Inspect(catalog).failedDlls);

    auto& untouched = Load("dlls=cat_first.dll\n");
    DebugCapture debug;
    untouched.RescanFailedDlls();
    EXPECT_TRUE(debug.lines().empty());
    EXPECT_TRUE(Inspect(untouched).dllListModules.empty());
    EXPECT_STREQ("cat_first.dll", Inspect(untouched).dllList);
}

TEST_F(CatalogScan, ModuleWithoutIdListStaysLoadedWithoutIds)
{
    auto& catalog = Load("dlls=cat_noids.dll\n");
    DebugCapture debug;
    Inspect(catalog).ScanDllList();
    EXPECT_EQ(Lines{"[Orvik_Error] No export \"GetComponentIDs\" function from " + Program("cat_noids.dll") +
                    " Fail.\n"},
              debug.lines());
    EXPECT_TRUE(Inspect(catalog).dllListRecords.empty());
    ASSERT_NE(nullptr, Loaded("cat_noids.dll"));
    EXPECT_EQ(std::list<Platform::ModuleHandle>{Loaded("cat_noids.dll")}, Inspect(catalog).dllListModules);
}

// The path and error of each scanned module, as a tool hears them.
using ScanReports = std::vector<std::pair<std::string, uint32_t>>;

class ScanListener final : public CatalogObserver {
public:
    ScanReports scans;

    void OnText(const char*, uint32_t) override {}
    void OnIgnoredLine(uint32_t, IgnoredLine) override {}
    void OnKey(uint32_t, ConfigKey, const char*) override {}
    void OnPreload(const char*, PreloadOutcome, uint32_t) override {}
    void OnScan(const char*, const char* path, ScanOutcome, uint32_t error) override
    {
        scans.emplace_back(path, error);
    }
};

TEST_F(CatalogScan, ToolsHearNoErrorForALoadedModule)
{
    // A load that succeeds leaves whatever last error came before; the scan
    // must not pass that on as the module's.
    auto& catalog = Load("dlls=cat_first.dll,missing.dll\n");
    ScanListener listener;
    catalog.SetObserver(&listener);
    DebugCapture debug;
    Platform::SetLastErrorCode(1234);
    catalog.ScanModuleList();
    catalog.SetObserver(nullptr);
    EXPECT_EQ((ScanReports{{Program("cat_first.dll"), 0}, {Program("missing.dll"), Platform::kErrorModuleNotFound}}),
              listener.scans);
}

TEST_F(CatalogScan, NamesTooLongForTheRecordsAreSkippedAndTheRestScanned)
{
    const std::string fits = std::string(24, 'n') + ".dll";       // 28 characters
    const std::string tooLong = std::string(25, 'n') + ".dll";    // 29
    const std::string itemTooLong = std::string(26, 'm') + ".dll";  // 30
    CopyModule("cat_counter.dll", fits);
    auto& catalog = Load("dlls=" + tooLong + ", " + fits + "," + itemTooLong + "\n", scratch_.Framework());
    DebugCapture debug;
    Inspect(catalog).ScanDllList();
    EXPECT_EQ((Lines{"[Orvik_Error] Name too long in the dlls list, skipped(" + tooLong + ").\n",
                     "[Orvik_Error] Name too long in the dlls list, skipped(" + itemTooLong + ").\n"}),
              debug.lines());
    EXPECT_EQ(1u, Inspect(catalog).dllListModules.size());
    EXPECT_STREQ(fits.c_str(), Inspect(catalog).dllListRecords.at(1000).dllName);
}

TEST_F(CatalogPreload, LoadsJoinedPathsUnlessTheBaseNameIsLoaded)
{
    {
        DebugCapture debug;
        Load("preload=catalog_sub\\cat_dep.dll, missing.dll\n");
        EXPECT_EQ(Lines{"[Orvik_Error] PreLoadDependDllList(" + Program("missing.dll") + ") Fail. ErrorCode(126)\n"},
                  debug.lines());
    }
    ASSERT_NE(nullptr, Loaded("cat_dep.dll"));
    EXPECT_EQ(std::list<Platform::ModuleHandle>{Loaded("cat_dep.dll")}, Inspect(*catalog_).preloadedModules);

    // No cat_dep.dll lies in the program directory: the loaded one counts.
    DebugCapture debug;
    auto second = Make("preload=cat_dep.dll\n", ProgramDirectory(), "second.ini");
    EXPECT_EQ(Lines{"[Orvik_Note] PreLoadDependDllList, cat_dep already loaded!\n"}, debug.lines());
    EXPECT_TRUE(Inspect(*second).preloadedModules.empty());
    second.reset();
    EXPECT_NE(nullptr, Loaded("cat_dep.dll"));
    catalog_.reset();
    EXPECT_EQ(nullptr, Loaded("cat_dep.dll"));
}

TEST_F(CatalogDestruction, FreesScannedModulesThatAgreeAndPreloadedOnes)
{
    Load("dlls=cat_first.dll,cat_nocreate.dll,cat_counter.dll\npreload=catalog_sub\\cat_dep.dll\n"
         "[20]\ndll=cat_second.dll\n");
    IComponent* live = Create(10);
    IComponent* fromSection = Create(20);
    ASSERT_NE(nullptr, live);
    ASSERT_NE(nullptr, fromSection);
    fromSection->Release(0);
    const Platform::ModuleHandle kept[] = {Loaded("cat_first.dll"), Loaded("cat_nocreate.dll"),
                                           Loaded("cat_second.dll")};
    for (Platform::ModuleHandle module : kept) ASSERT_NE(nullptr, module);

    catalog_.reset();
    EXPECT_EQ(nullptr, Loaded("cat_counter.dll"));
    EXPECT_EQ(nullptr, Loaded("cat_dep.dll"));
    // A live component, no OrvikDllCanUnloadNow, a section's module.
    EXPECT_EQ(kept[0], Loaded("cat_first.dll"));
    EXPECT_EQ(kept[1], Loaded("cat_nocreate.dll"));
    EXPECT_EQ(kept[2], Loaded("cat_second.dll"));
    live->Release(0);
    for (Platform::ModuleHandle module : kept) Platform::ReleaseModule(module);
}

TEST_F(CatalogDestruction, FreesEachScannedModuleBeforeAskingTheNext)
{
    // cat_after agrees to go only once cat_counter, scanned before it, has gone.
    Load("dlls=cat_counter.dll,cat_after.dll\n");
    ASSERT_NE(nullptr, Create(1000));
    ASSERT_NE(nullptr, Loaded("cat_after.dll"));
    catalog_.reset();
    EXPECT_EQ(nullptr, Loaded("cat_counter.dll"));
    EXPECT_EQ(nullptr, Loaded("cat_after.dll"));
}

TEST_F(CatalogDestruction, LeavesTheDefaultModuleLoaded)
{
    auto& catalog = Load("defaultdll=cat_counter.dll\n");
    ASSERT_NE(nullptr, Create(1000));
    const Platform::ModuleHandle module = Inspect(catalog).defaultDllModule;
    catalog_.reset();
    EXPECT_EQ(module, Loaded("cat_counter.dll"));
    Platform::ReleaseModule(module);
}

}  // namespace
}  // namespace Orvik::Testing
