// The module runtime seen from outside, through real modules loaded at run
// time and their seven exports.

#include <gtest/gtest.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <string>
#include <vector>

#include "module/module_exports.h"
#include "platform/debug_output.h"
#include "tests/module/modules/test_probe.h"
#include "tests/support/debug_capture.h"
#include "tests/support/test_paths.h"

namespace Orvik {
namespace {

using Testing::ITestProbe;

// A loaded component module and its exports.
class LoadedModule {
public:
    explicit LoadedModule(const char* name)
        : handle_(Platform::LoadModule((Testing::ProgramDirectory() + "\\" + name).c_str()))
    {
    }
    ~LoadedModule() { Unload(); }
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;

    void Unload()
    {
        if (handle_ != nullptr) Platform::ReleaseModule(handle_);
        handle_ = nullptr;
    }
    Platform::ModuleHandle handle() const { return handle_; }

    template <typename Function>
    Function Get(const char* name) const
    {
        return reinterpret_cast<Function>(Platform::FindExport(handle_, name));
    }
    ITestProbe* Create(int32_t id, uint32_t creator = 361) const
    {
        return static_cast<ITestProbe*>(Get<CreateComponentExport>("CreateComponent")(id, creator));
    }
    int32_t CanUnloadNow() const { return Get<OrvikDllCanUnloadNowExport>("OrvikDllCanUnloadNow")(); }
    void FreeMap() const { Get<OrvikDllFreeMapExport>("OrvikDllFreeMap")(); }
    void SetDllSafe(int32_t flag) const { Get<OrvikSetDllSafeExport>("OrvikSetDllSafe")(flag); }
    void SetRegistry(const char* path) const { Get<SetDllRegistryExport>("SetDLLRegistry")(path); }
    int32_t ComponentIds(uint32_t* ids, int32_t max) const
    {
        return Get<GetComponentIdsExport>("GetComponentIDs")(ids, max);
    }

private:
    Platform::ModuleHandle handle_;
};

using Testing::DebugCapture;

class ModuleRuntime : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NE(alpha_.handle(), nullptr); }
    LoadedModule alpha_{"alpha.dll"};
};

TEST_F(ModuleRuntime, CreatesByIdRecordsAndReleases)
{
    EXPECT_EQ(alpha_.CanUnloadNow(), 1);
    ITestProbe* probe = alpha_.Create(201);
    ASSERT_NE(probe, nullptr);
    EXPECT_EQ(probe->GetComponentID(), 201u);
    EXPECT_EQ(probe->GetVersion(), 1);
    EXPECT_EQ(probe->Tag(), 1) << "the first creator registered for an id wins";
    EXPECT_EQ(alpha_.CanUnloadNow(), 0);

    const int32_t uninitialised = probe->UninitializeCount();
    probe->Reserved1();
    probe->Reserved2();
    probe->Reserved3();
    probe->Release(0);
    EXPECT_EQ(alpha_.CanUnloadNow(), 1);
    ITestProbe* witness = alpha_.Create(201);
    EXPECT_EQ(witness->UninitializeCount(), uninitialised + 1);
    witness->Release(0);
}

TEST_F(ModuleRuntime, ReportsUnknownIdsAndFailingCreators)
{
    DebugCapture capture;
    EXPECT_EQ(alpha_.Create(999, 7), nullptr);
    EXPECT_EQ(alpha_.Create(204, 361), nullptr);
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{
                                   "Orvik[Error]: Can't find the factory method of Component\n",
                                   "Orvik[Error]: ComponentID=999 CreatorID=7",
                                   "Orvik[Error]:CreateComponent method return NULL.\n",
                                   "Orvik[Error]: ComponentID=204 CreatorID=361",
                               }));
    EXPECT_EQ(alpha_.CanUnloadNow(), 1);
}

TEST_F(ModuleRuntime, SingletonIsOneLiveObjectAndIsRemadeAfterItsDeath)
{
    ITestProbe* first = alpha_.Create(202, 361);
    ITestProbe* second = alpha_.Create(202, 0);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    first->Release(0);
    EXPECT_EQ(alpha_.CanUnloadNow(), 1) << "one entry for the address";

    ITestProbe* remade = alpha_.Create(202);
    ASSERT_NE(remade, nullptr);
    EXPECT_EQ(remade->Tag(), 3);
    EXPECT_EQ(alpha_.CanUnloadNow(), 0);
    remade->Release(0);
}

TEST_F(ModuleRuntime, ComponentNeedingForceIgnoresReleaseZero)
{
    ITestProbe* forced = alpha_.Create(203);
    ASSERT_NE(forced, nullptr);
    const int32_t uninitialised = forced->UninitializeCount();
    forced->Release(0);
    EXPECT_EQ(alpha_.CanUnloadNow(), 0);
    EXPECT_EQ(forced->UninitializeCount(), uninitialised) << "not even finalised";
    forced->Release(1);
    EXPECT_EQ(alpha_.CanUnloadNow(), 1);
}

TEST_F(ModuleRuntime, NothingHappensWhileTheModuleIsNotDllSafe)
{
    ITestProbe* probe = alpha_.Create(201);
    const int32_t uninitialised = probe->UninitializeCount();
    alpha_.SetDllSafe(0);
    probe->Release(1);
    EXPECT_EQ(alpha_.CanUnloadNow(), 0);
    EXPECT_EQ(probe->UninitializeCount(), uninitialised);
    alpha_.SetDllSafe(1);
    probe->Release(0);
    EXPECT_EQ(alpha_.CanUnloadNow(), 1);
}

TEST_F(ModuleRuntime, HeldComponentIsFinalisedOnceAndKeptUntilLetGo)
{
    ITestProbe* probe = alpha_.Create(201);
    probe->SetHoldValue(1);
    const int32_t uninitialised = probe->UninitializeCount();
    probe->Release(0);
    EXPECT_EQ(probe->UninitializeCount(), uninitialised + 1);
    probe->Release(0);
    EXPECT_EQ(probe->UninitializeCount(), uninitialised + 1) << "finalised only once";
    EXPECT_EQ(alpha_.CanUnloadNow(), 0);
    probe->SetHoldValue(0);
    probe->Release(0);
    EXPECT_EQ(alpha_.CanUnloadNow(), 1);
}

TEST_F(ModuleRuntime, FreeMapReleasesOnlyMarkedComponents)
{
    ITestProbe* marked = alpha_.Create(201);
    ITestProbe* unmarked = alpha_.Create(201);
    ITestProbe* forced = alpha_.Create(203);
    marked->SetAutoRelease(1);
    forced->SetAutoRelease(1);
    EXPECT_EQ(marked->GetAutoRelease(), 1u);
    alpha_.FreeMap();

    // The marked one is gone; the forced one ignored Release(0) and stays.
    unmarked->Release(0);
    EXPECT_EQ(alpha_.CanUnloadNow(), 0);
    forced->Release(1);
    EXPECT_EQ(alpha_.CanUnloadNow(), 1);
}

TEST_F(ModuleRuntime, RegistryPathAndConfigPath)
{
    ITestProbe* probe = alpha_.Create(201);
    char buffer[300];
    const std::string fits(259, 'p');
    alpha_.SetRegistry(fits.c_str());
    probe->CopyConfigPath("", buffer, sizeof buffer);
    EXPECT_EQ(std::string(buffer), fits);
    probe->CopyConfigPath(nullptr, buffer, sizeof buffer);
    EXPECT_EQ(std::string(buffer), fits);

    alpha_.SetRegistry(std::string(260, 'q').c_str());
    probe->CopyConfigPath("", buffer, sizeof buffer);
    EXPECT_EQ(std::string(buffer), "");

    alpha_.SetRegistry("cfg\\game.ini");
    probe->CopyConfigPath("other.ini", buffer, sizeof buffer);
    EXPECT_EQ(std::string(buffer), "other.ini");

    // A buffer too small is left empty; nothing is written past it.
    char small[8];
    std::fill(std::begin(small), std::end(small), 'x');
    probe->CopyConfigPath("", small, 5);
    EXPECT_EQ(small[0], '\0');
    EXPECT_EQ(std::string(small + 5, 3), "xxx");
    std::fill(std::begin(small), std::end(small), 'x');
    probe->CopyConfigPath("", small, 0);
    probe->CopyConfigPath("", nullptr, 8);
    EXPECT_EQ(std::string(small, 8), "xxxxxxxx");

    alpha_.SetRegistry(nullptr);
    probe->CopyConfigPath("", buffer, sizeof buffer);
    EXPECT_EQ(std::string(buffer), "");
    probe->Release(0);
}

TEST_F(ModuleRuntime, RemovingAnUnrecordedComponentIsReported)
{
    ITestProbe* probe = alpha_.Create(201);
    DebugCapture capture;
    probe->ReleaseUnrecordedComponent();
    ASSERT_EQ(capture.lines().size(), 2u);
    EXPECT_EQ(capture.lines()[0], "Orvik[Error]: To remove a component not exist\n");
    const std::string& address = capture.lines()[1];
    EXPECT_EQ(address.rfind("Orvik[Error]: IComponent* = 0x", 0), 0u) << address;
    EXPECT_EQ(address.back(), '\n');
    EXPECT_EQ(alpha_.CanUnloadNow(), 0) << "the recorded one is untouched";
    probe->Release(0);
}

TEST_F(ModuleRuntime, AttachFollowsStaticInitialisation)
{
    ITestProbe* startup = alpha_.Create(205);
    ASSERT_NE(startup, nullptr);
    EXPECT_EQ(startup->ModuleHandleSeen(), alpha_.handle());
    EXPECT_EQ(startup->Tag(), 0) << "a registrar ran after the process attach";
    startup->Release(0);
}

TEST(ModuleRuntimeTables, CreatorTableHolds512Entries)
{
    LoadedModule crowded("crowded.dll");
    ASSERT_NE(crowded.handle(), nullptr);
    std::vector<uint32_t> ids(600, 0xEEEEEEEEu);
    EXPECT_EQ(crowded.ComponentIds(ids.data(), 600), 512) << "513th, zero id and null creator dropped";
    EXPECT_EQ(ids[0], 1u);
    EXPECT_EQ(ids[511], 512u);
    EXPECT_EQ(ids[512], 0xEEEEEEEEu);

    std::fill(ids.begin(), ids.end(), 0xEEEEEEEEu);
    EXPECT_EQ(crowded.ComponentIds(ids.data(), 3), 512);
    EXPECT_EQ(ids[2], 3u);
    EXPECT_EQ(ids[3], 0xEEEEEEEEu);
    std::fill(ids.begin(), ids.end(), 0xEEEEEEEEu);
    EXPECT_EQ(crowded.ComponentIds(ids.data(), 0), 512);
    EXPECT_EQ(crowded.ComponentIds(ids.data(), -1), 512);
    EXPECT_EQ(ids[0], 0xEEEEEEEEu);

    ITestProbe* last = crowded.Create(512);
    ASSERT_NE(last, nullptr);
    last->Release(0);
    DebugCapture capture;
    EXPECT_EQ(crowded.Create(513), nullptr);
    EXPECT_EQ(capture.lines().size(), 2u);
}

TEST(ModuleRuntimeTables, TwoModulesKeepTheirOwnTablesAndMaps)
{
    LoadedModule alpha("alpha.dll");
    LoadedModule crowded("crowded.dll");
    uint32_t ids[16] = {};
    EXPECT_EQ(alpha.ComponentIds(ids, 16), 6);
    EXPECT_EQ(std::vector<uint32_t>(ids, ids + 6), (std::vector<uint32_t>{201, 201, 202, 203, 204, 205}));

    ITestProbe* probe = alpha.Create(201);
    EXPECT_EQ(alpha.CanUnloadNow(), 0);
    EXPECT_EQ(crowded.CanUnloadNow(), 1);
    alpha.SetRegistry("alpha.ini");
    crowded.SetRegistry("crowded.ini");
    char buffer[260];
    probe->CopyConfigPath("", buffer, sizeof buffer);
    EXPECT_EQ(std::string(buffer), "alpha.ini");
    probe->Release(0);
}

// Components left alive on purpose; kept reachable for the leak checker,
// which looks after static objects are gone, so a plain array.
IComponent* g_leakedOnPurpose[2];

std::string LeakLine(uint32_t id, uint32_t creator, const void* pointer)
{
    char line[200];
    std::snprintf(line, sizeof line, "Orvik[Error]:ComponentID:0x%08x CreatorID:0x%08x Pointer:0x%08" PRIxPTR "\n", id,
                  creator, reinterpret_cast<uintptr_t>(pointer));
    return line;
}

TEST(ModuleRuntimeLeaks, DetachReportsLiveComponentsInAddressOrder)
{
    LoadedModule alpha("alpha.dll");
    ASSERT_NE(alpha.handle(), nullptr);
    IComponent* first = alpha.Create(201, 361);
    IComponent* second = alpha.Create(203, 0);
    g_leakedOnPurpose[0] = first;
    g_leakedOnPurpose[1] = second;
    const bool firstIsLower = first < second;

    DebugCapture capture;
    alpha.Unload();
    ASSERT_EQ(Platform::FindLoadedModule("alpha.dll"), nullptr) << "the module must really be gone";
    const std::string separator =
        "Orvik[Error]:=================================================================\n";
    std::vector<std::string> expected = {separator, "Orvik[Error]:Found leak Orvik components. Count:2\n"};
    const std::string firstLine = LeakLine(201, 361, first);
    const std::string secondLine = LeakLine(203, 0, second);
    expected.push_back(firstIsLower ? firstLine : secondLine);
    expected.push_back(firstIsLower ? secondLine : firstLine);
    expected.push_back(separator);
    EXPECT_EQ(capture.lines(), expected);
}

TEST(ModuleRuntimeLeaks, CleanModuleWritesNothingAtDetach)
{
    LoadedModule alpha("alpha.dll");
    alpha.Create(201)->Release(0);
    DebugCapture capture;
    alpha.Unload();
    EXPECT_TRUE(capture.lines().empty());
}

}  // namespace
}  // namespace Orvik
