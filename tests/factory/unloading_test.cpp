// Idle modules are unloaded by the factory's timer while the thread
// dispatches its messages; TryUnloadModule unloads only modules that agree;
// Release(1) ends the factory and its timer, Release(0) changes nothing.

#include <chrono>
#include <thread>

#include "orvik/platform/thread_timer.h"
#include "tests/factory/factory_fixture.h"

namespace Orvik::Testing {
namespace {

using Unloading = FactoryTest;

TEST_F(Unloading, IdleModulesGoAtATickOnlyWhileMessagesAreDispatched)
{
    WriteOrvikIni("dlls=fact_beta.dll\n[8201]\ndll=fact_alpha.dll\n");
    ASSERT_EQ(Use(kCommonId).tag, kAlphaTag);
    ASSERT_EQ(Use(kBetaOnlyId).tag, kBetaTag);

    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_TRUE(IsLoaded("fact_alpha.dll")) << "no tick without dispatching";
    EXPECT_TRUE(IsLoaded("fact_beta.dll"));

    EXPECT_TRUE(DispatchUntilUnloaded({"fact_alpha.dll", "fact_beta.dll"}));

    // A section loads its module again from its path, the scan's record
    // by the listed name.
    EXPECT_EQ(Use(kCommonId).tag, kAlphaTag);
    EXPECT_EQ(Use(kBetaOnlyId).tag, kBetaTag);
    EXPECT_EQ(debug_.Take(), Lines{});
}

TEST_F(Unloading, TryUnloadModuleNeedsTheModulesConsent)
{
    WriteOrvikIni("[8201]\ndll=fact_alpha.dll\n");
    IOrvikComponentFactory* factory = Factory();

    const Platform::ModuleHandle bare = Platform::LoadModule(InProgramDirectory("fact_bare.dll").c_str());
    ASSERT_NE(bare, nullptr);
    EXPECT_EQ(factory->TryUnloadModule(bare), 0) << "no OrvikDllCanUnloadNow";
    EXPECT_TRUE(IsLoaded("fact_bare.dll"));
    Platform::ReleaseModule(bare);

    IProviderProbe* kept = client_->Keep(kCommonId);
    ASSERT_NE(kept, nullptr);
    const Platform::ModuleHandle alpha = Platform::FindLoadedModule("fact_alpha.dll");
    EXPECT_EQ(factory->TryUnloadModule(alpha), 0) << "a live component";
    EXPECT_TRUE(IsLoaded("fact_alpha.dll"));

    kept->Release(0);
    EXPECT_EQ(factory->TryUnloadModule(alpha), 1);
    EXPECT_FALSE(IsLoaded("fact_alpha.dll")) << "the catalog freed its reference at once";

    // The tick tries the module it was told about, which is gone.
    Platform::DispatchMessagesFor(300);
    EXPECT_EQ(Use(kCommonId).tag, kAlphaTag) << "loaded again";
    EXPECT_EQ(debug_.Take(), Lines{});
}

TEST_F(Unloading, ScannedModuleAskedForAgainBeforeTheTickStillLeaves)
{
    WriteOrvikIni("dlls=fact_beta.dll\n");
    ASSERT_EQ(Use(kBetaOnlyId).tag, kBetaTag);
    // Idle and forgotten: the next request loads it once more by its name.
    ASSERT_EQ(Use(kBetaOnlyId).tag, kBetaTag);
    EXPECT_TRUE(DispatchUntilUnloaded({"fact_beta.dll"})) << "every reference of the scan and the reload is freed";
    EXPECT_EQ(debug_.Take(), Lines{});
}

TEST_F(Unloading, TimerOfAnEndedThreadIsReplacedByTheNextIdleNotice)
{
    WriteOrvikIni("[8201]\ndll=fact_alpha.dll\n");
    int32_t tag = 0;
    // The idle notice starts the timer on this thread, which ends with it.
    std::thread([&] { tag = Use(kCommonId).tag; }).join();
    ASSERT_EQ(tag, kAlphaTag);

    ASSERT_EQ(Use(kCommonId).tag, kAlphaTag);
    EXPECT_TRUE(DispatchUntilUnloaded({"fact_alpha.dll"})) << "a timer of this thread took over";
    EXPECT_EQ(debug_.Take(), Lines{});
}

using Shutdown = FactoryTest;

TEST_F(Shutdown, ReleaseZeroLeavesTheFactoryAlive)
{
    WriteOrvikIni("[8201]\ndll=fact_alpha.dll\n");
    IOrvikComponentFactory* factory = Factory();
    factory->SetRootPath(scratch_.Framework().c_str());
    factory->Release(0);

    WriteOrvikIni("[8201]\ndll=fact_beta.dll\n");
    EXPECT_EQ(Use(kCommonId).tag, kAlphaTag) << "Orvik.ini is not read again";
    EXPECT_EQ(Factory(), factory);
    char root[Platform::kMaxPath] = {};
    EXPECT_EQ(factory->CopyRootPath(root), 1);
    EXPECT_EQ(root, scratch_.Framework());
}

TEST_F(Shutdown, ReleaseOneEndsTheFactoryAndItsTimer)
{
    WriteOrvikIni("[8201]\ndll=fact_alpha.dll\n");
    ASSERT_EQ(Use(kCommonId).tag, kAlphaTag);
    Factory()->SetRootPath(scratch_.Framework().c_str());
    EndFactory();

    // The timer started for the idle module died with the factory.
    Platform::DispatchMessagesFor(400);
    EXPECT_TRUE(IsLoaded("fact_alpha.dll")) << "queued, never tried";
    DropLeftoverReference("fact_alpha.dll");

    // The next request makes a new factory, which reads Orvik.ini again.
    WriteOrvikIni("[8201]\ndll=fact_beta.dll\n");
    LoadClient();
    EXPECT_EQ(Use(kCommonId).tag, kBetaTag);
    char root[Platform::kMaxPath] = {};
    EXPECT_EQ(Factory()->CopyRootPath(root), 1);
    EXPECT_EQ(root, ProgramDirectory());
}

TEST_F(Shutdown, NextFactoryUnloadsIdleModulesToo)
{
    WriteOrvikIni("[8201]\ndll=fact_alpha.dll\n");
    ASSERT_EQ(Use(kCommonId).tag, kAlphaTag);
    ASSERT_TRUE(DispatchUntilUnloaded({"fact_alpha.dll"}));
    EndFactory();

    LoadClient();
    ASSERT_EQ(Use(kCommonId).tag, kAlphaTag);
    EXPECT_TRUE(DispatchUntilUnloaded({"fact_alpha.dll"})) << "the tick serves the factory alive now";
}

}  // namespace
}  // namespace Orvik::Testing
