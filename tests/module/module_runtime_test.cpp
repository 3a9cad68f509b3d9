// The module runtime seen from outside, through real modules loaded at run
// time and their seven exports.

#include <gtest/gtest.h>

#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "orvik/module/module_exports.h"
#include "tests/module/loaded_module.h"
#include "tests/module/modules/test_probe.h"
#include "tests/support/debug_capture.h"
#include "tests/support/test_paths.h"

namespace Orvik::Testing {
namespace {

using Lines = std::vector<std::string>;

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
    EXPECT_EQ(capture.lines(), (Lines{"Orvik[Error]: Can't find the factory method of Component\n",
                                      "Orvik[Error]: ComponentID=999 CreatorID=7",
                                      "Orvik[Error]:CreateComponent method return NULL.\n",
                                      "Orvik[Error]: ComponentID=204 CreatorID=361"}));
    EXPECT_EQ(alpha_.CanUnloadNow(), 1);
}

TEST_F(ModuleRuntime, OverAlignedComponentIsAlignedAndFreedAsItWasMade)
{
    for (int round = 0; round < 3; ++round) {
        ITestProbe* probe = alpha_.Create(206);
        ASSERT_NE(probe, nullptr);
        EXPECT_EQ(probe->Tag(), 6) << "its member sits on its alignment";
        EXPECT_EQ(alpha_.CanUnloadNow(), 0);
        probe->Release(0);
        EXPECT_EQ(alpha_.CanUnloadNow(), 1);
    }
}

TEST_F(ModuleRuntime, ThreadsMakingAndReleasingAtOnceKeepTheModuleInUseUntilTheLastGoes)
{
    // Components made on one thread are released on another, in every
    // order, while one long-lived component keeps the module in use: the
    // module never agrees to be unloaded meanwhile, and agrees once the
    // long-lived one has gone after all the others.
    ITestProbe* kept = alpha_.Create(201);
    ASSERT_NE(kept, nullptr);
    constexpr int kThreads = 4;
    constexpr int kRounds = 3000;
    std::vector<std::vector<ITestProbe*>> handedOver(kThreads);
    std::vector<std::mutex> handOverLocks(kThreads);
    std::atomic<int> running{kThreads};
    std::atomic<int> wrong{0}, agreed{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < kRounds; ++round) {
                ITestProbe* made = alpha_.Create(201);
                if (made == nullptr || made->Tag() != 1) ++wrong;
                if (made == nullptr) continue;
                // Every other one goes to the next thread, which releases it.
                if (round % 2 == 0) {
                    made->Release(0);
                    continue;
                }
                std::vector<ITestProbe*> mine;
                {
                    std::lock_guard<std::mutex> guard(handOverLocks[(t + 1) % kThreads]);
                    handedOver[(t + 1) % kThreads].push_back(made);
                }
                {
                    std::lock_guard<std::mutex> guard(handOverLocks[t]);
                    mine.swap(handedOver[t]);
                }
                for (ITestProbe* probe : mine) probe->Release(0);
            }
            --running;
        });
    }
    while (running.load() > 0) agreed += alpha_.CanUnloadNow();
    for (std::thread& thread : threads) thread.join();
    for (std::vector<ITestProbe*>& left : handedOver) {
        for (ITestProbe* probe : left) probe->Release(0);
    }
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_EQ(agreed.load(), 0) << "the kept component leaves the module in use";
    EXPECT_EQ(alpha_.CanUnloadNow(), 0);
    kept->Release(0);
    EXPECT_EQ(alpha_.CanUnloadNow(), 1);
}

TEST_F(ModuleRuntime, SingletonIsOneLiveObjectAndIsRemadeAfterItsDeath)
{
    ITestProbe* first = alpha_.Create(202, 361);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(alpha_.Create(202, 0), first);
    first->Release(0);
    EXPECT_EQ(alpha_.CanUnloadNow(), 1) << "one entry for the address";

    ITestProbe* remade = alpha_.Create(202);
    ASSERT_NE(remade, nullptr);
    EXPECT_EQ(remade->Tag(), 3);
    EXPECT_EQ(alpha_.CanUnloadNow(), 0);
    remade->Release(0);
}

TEST_F(ModuleRuntime, ReleaseRulesForForcedHeldAndUnsafeComponents)
{
    ITestProbe* forced = alpha_.Create(203);
    ASSERT_NE(forced, nullptr);
    const int32_t uninitialised = forced->UninitializeCount();
    forced->Release(0);
    EXPECT_EQ(alpha_.CanUnloadNow(), 0) << "a component needing force ignores Release(0)";
    EXPECT_EQ(forced->UninitializeCount(), uninitialised) << "not even finalised";
    forced->Release(1);
    EXPECT_EQ(alpha_.CanUnloadNow(), 1);

    ITestProbe* probe = alpha_.Create(201);
    alpha_.Get<Exports::OrvikSetDllSafe>()(0);
    probe->Release(1);
    EXPECT_EQ(alpha_.CanUnloadNow(), 0) << "nothing happens while the module is not safe";
    EXPECT_EQ(probe->UninitializeCount(), uninitialised + 1);
    alpha_.Get<Exports::OrvikSetDllSafe>()(1);

    probe->SetHoldValue(1);
    probe->Release(0);
    probe->Release(0);
    EXPECT_EQ(probe->UninitializeCount(), uninitialised + 2) << "a held component is finalised once";
    EXPECT_EQ(alpha_.CanUnloadNow(), 0) << "and kept until let go";
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
    alpha_.Get<Exports::OrvikDllFreeMap>()();

    // The marked one is gone; the forced one ignored Release(0) and stays.
    unmarked->Release(0);
    EXPECT_EQ(alpha_.CanUnloadNow(), 0);
    forced->Release(1);
    EXPECT_EQ(alpha_.CanUnloadNow(), 1);
}

TEST_F(ModuleRuntime, ConfigPathIsTheGivenOneOrTheRegistryPath)
{
    ITestProbe* probe = alpha_.Create(201);
    const std::string fits(259, 'p'), over(260, 'q');
    const struct {
        const char* registry;
        const char* path;
        std::string expected;
    } cases[] = {{fits.c_str(), "", fits},
                 {fits.c_str(), nullptr, fits},
                 {over.c_str(), "", ""},  // a registry path that does not fit is left empty
                 {"cfg\\game.ini", "other.ini", "other.ini"},
                 {nullptr, "", ""}};
    for (const auto& c : cases) {
        alpha_.SetRegistry(c.registry);
        char buffer[300] = "old";
        probe->CopyConfigPath(c.path, buffer, sizeof buffer);
        EXPECT_EQ(buffer, c.expected) << (c.registry != nullptr ? std::strlen(c.registry) : 0);
    }

    // A buffer too small is left empty; nothing is written past it.
    alpha_.SetRegistry("cfg\\game.ini");
    char small[8] = "xxxxxxx";
    probe->CopyConfigPath("", small, 5);
    EXPECT_EQ(small[0], '\0');
    EXPECT_STREQ(small + 5, "xx");
    std::strcpy(small, "xxxxxxx");
    probe->CopyConfigPath("", small, 0);
    probe->CopyConfigPath("", nullptr, 8);
    EXPECT_STREQ(small, "xxxxxxx");
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
    auto idsFor = [&](int32_t max) {
        std::vector<uint32_t> ids(600, 0xEEEEEEEEu);
        EXPECT_EQ(crowded.ComponentIds(ids.data(), max), 512) << max;
        return ids;
    };
    std::vector<uint32_t> expected(600, 0xEEEEEEEEu);
    std::iota(expected.begin(), expected.begin() + 512, 1u);
    EXPECT_EQ(idsFor(600), expected) << "the 513th, a zero id and a null creator are dropped";
    std::fill(expected.begin() + 3, expected.end(), 0xEEEEEEEEu);
    EXPECT_EQ(idsFor(3), expected);
    EXPECT_EQ(idsFor(0), std::vector<uint32_t>(600, 0xEEEEEEEEu));
    EXPECT_EQ(idsFor(-1), std::vector<uint32_t>(600, 0xEEEEEEEEu));

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
    EXPECT_EQ(alpha.ComponentIds(ids, 16), 7);
    EXPECT_EQ(std::vector<uint32_t>(ids, ids + 7), (std::vector<uint32_t>{201, 201, 202, 203, 204, 205, 206}));

    ITestProbe* probe = alpha.Create(201);
    EXPECT_EQ(alpha.CanUnloadNow(), 0);
    EXPECT_EQ(crowded.CanUnloadNow(), 1);
    alpha.SetRegistry("alpha.ini");
    crowded.SetRegistry("crowded.ini");
    char buffer[260];
    probe->CopyConfigPath("", buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "alpha.ini");
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
    IComponent* first = g_leakedOnPurpose[0] = alpha.Create(201, 361);
    IComponent* second = g_leakedOnPurpose[1] = alpha.Create(203, 0);
    std::string lines[] = {LeakLine(201, 361, first), LeakLine(203, 0, second)};
    if (second < first) std::swap(lines[0], lines[1]);

    DebugCapture capture;
    alpha.Unload();
    ASSERT_EQ(Platform::FindLoadedModule("alpha.dll"), nullptr) << "the module must really be gone";
    const std::string separator = "Orvik[Error]:=================================================================\n";
    EXPECT_EQ(capture.lines(),
              (Lines{separator, "Orvik[Error]:Found leak Orvik components. Count:2\n", lines[0], lines[1], separator}));
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
}  // namespace Orvik::Testing
