// The factory's inspection (component 0): the snapshot of what it holds
// after requests, idle unloads and at shutdown, the trace of a request's
// whole life, and installing and removing the trace sink while calls run.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <thread>

#include "orvik/module/factory_inspection.h"
#include "platform/trace_clock.h"
#include "tests/factory/factory_fixture.h"

namespace Orvik::Testing {
namespace {

// The file name of a path, as the framework writes paths.
std::string FileName(const std::string& path) { return path.substr(path.find_last_of("\\/") + 1); }

struct Snapshot {
    OrvikFactoryState factory{};
    std::vector<OrvikCatalogState> catalogs;
    std::vector<std::vector<OrvikModuleState>> modules;  // per catalog
    std::vector<std::string> pending;                   // file names
    std::vector<ComponentId> registered;

    // The module of that file in the catalog, or null.
    const OrvikModuleState* Find(size_t catalog, const std::string& file) const
    {
        for (const OrvikModuleState& module : modules[catalog]) {
            if (FileName(module.path) == file) return &module;
        }
        return nullptr;
    }
};

class SnapshotCopy : public IOrvikSnapshotVisitor {
public:
    explicit SnapshotCopy(Snapshot* into) : into_(into) {}
    void OnFactory(const OrvikFactoryState* state) override { into_->factory = *state; }
    void OnCatalog(const OrvikCatalogState* catalog) override
    {
        into_->catalogs.push_back(*catalog);
        into_->modules.emplace_back();
    }
    void OnModule(const OrvikModuleState* module) override { into_->modules.back().push_back(*module); }
    void OnPendingModule(const OrvikPendingModule* module) override { into_->pending.push_back(FileName(module->path)); }
    void OnRegisteredInstance(ComponentId id) override { into_->registered.push_back(id); }

private:
    Snapshot* into_;
};

struct Event {
    uint32_t kind;
    uint32_t route;
    uint32_t detail;
    uint32_t error;
    ComponentId id;
    std::string module;  // file name
    std::string config;
    uint64_t thread;
    uint64_t time;
};

// Keeps every event; may be held inside OnTrace until Open().
class RecordingSink : public IOrvikTraceSink {
public:
    void OnTrace(const OrvikTraceEvent* event) override
    {
        std::unique_lock<std::mutex> lock(mutex_);
        events_.push_back({event->kind, event->route, event->detail, event->error, event->componentId, FileName(event->modulePath),
                           event->configPath, event->threadId, event->timeMicroseconds});
        ++calls_;
        changed_.notify_all();
        changed_.wait(lock, [this] { return open_; });
    }

    void Hold()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        open_ = false;
    }
    void Open()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        open_ = true;
        changed_.notify_all();
    }
    void WaitForCalls(int calls)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [&] { return calls_ >= calls; });
    }
    std::vector<Event> Events()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return events_;
    }
    // The kinds of the events about one module file, in order.
    std::vector<uint32_t> KindsFor(const std::string& module)
    {
        std::vector<uint32_t> kinds;
        for (const Event& event : Events()) {
            if (event.module == module) kinds.push_back(event.kind);
        }
        return kinds;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Event> events_;
    int calls_ = 0;
    bool open_ = true;
};

// Installs a sink of the test's for its scope, also when an assertion ends
// the test early.
class InstalledSink {
public:
    InstalledSink(IOrvikInspection* inspection, IOrvikTraceSink* sink) : inspection_(inspection)
    {
        EXPECT_EQ(inspection_->SetTraceSink(sink), 1);
    }
    ~InstalledSink()
    {
        if (inspection_ != nullptr) inspection_->SetTraceSink(nullptr);
    }
    InstalledSink(const InstalledSink&) = delete;
    InstalledSink& operator=(const InstalledSink&) = delete;
    // The factory ended, and dropped the sink itself.
    void Forget() { inspection_ = nullptr; }

private:
    IOrvikInspection* inspection_;
};

// Factory() and Inspect() make requests of their own: tests that trace call
// them before installing the sink.
class Inspection : public FactoryTest {
protected:

    IOrvikInspection* Inspect()
    {
        auto* inspection = static_cast<IOrvikInspection*>(Factory()->CreateComponentByID(kInspectionComponentId, ""));
        EXPECT_NE(inspection, nullptr);
        return inspection;
    }
    Snapshot Take()
    {
        Snapshot snapshot;
        SnapshotCopy copy(&snapshot);
        EXPECT_EQ(Inspect()->VisitSnapshot(&copy), 1);
        return snapshot;
    }
};

TEST_F(Inspection, IsServedUnderIdZeroWhateverTheConfiguration)
{
    WriteOrvikIni("dlls=fact_beta.dll\n");
    IOrvikInspection* inspection = Inspect();
    ASSERT_NE(inspection, nullptr);
    EXPECT_EQ(inspection->GetComponentID(), kInspectionComponentId);
    EXPECT_EQ(Factory()->CreateComponentByID(kInspectionComponentId, "other.ini"), inspection);
    inspection->Release(1);
    EXPECT_EQ(Inspect(), inspection) << "its Release does nothing";
    EXPECT_EQ(inspection->VisitSnapshot(nullptr), 0);
    EXPECT_FALSE(IsLoaded("fact_beta.dll")) << "no catalog was asked, so nothing was scanned";
}

TEST_F(Inspection, SnapshotShowsEachCatalogsModulesAndHowTheyCame)
{
    WriteOrvikIni("dlls=fact_beta.dll\npreload=fact_preload.dll\n[8201]\ndll=fact_alpha.dll\n");
    IProviderProbe* section = client_->Keep(kCommonId);
    IProviderProbe* scanned = client_->Keep(kBetaOnlyId);
    ASSERT_NE(section, nullptr);
    ASSERT_NE(scanned, nullptr);
    const std::string second = WriteConfig("second.ini", "defaultdll=" + InProgramDirectory("fact_gamma.dll") + "\n");
    SetRegistry(second);
    ASSERT_EQ(Use(kGammaId).tag, kGammaTag);
    // Asks for the factory by id through second.ini, whose [361] loads its module.
    Factory();

    Snapshot snapshot = Take();
    EXPECT_EQ(snapshot.factory.alive, 1);
    EXPECT_EQ(std::string(snapshot.factory.rootPath), ProgramDirectory());
    ASSERT_EQ(snapshot.catalogs.size(), 2u) << "the second file's, then the default one";
    EXPECT_EQ(snapshot.factory.catalogCount, 2u);
    EXPECT_EQ(std::string(snapshot.catalogs[0].configPath), second);
    EXPECT_EQ(std::string(snapshot.catalogs[1].configPath), "");
    EXPECT_EQ(std::string(snapshot.catalogs[1].configFile), InProgramDirectory("Orvik.ini"));
    EXPECT_EQ(snapshot.catalogs[1].hasDllList, 1);
    EXPECT_EQ(snapshot.catalogs[1].sectionCount, 2u) << "[361] and [8201]";
    EXPECT_EQ(std::string(snapshot.catalogs[1].unscannedDlls), "") << "scanned by the first request";

    ASSERT_EQ(snapshot.modules[0].size(), 2u);
    const OrvikModuleState* gamma = snapshot.Find(0, "fact_gamma.dll");
    ASSERT_NE(gamma, nullptr);
    EXPECT_EQ(gamma->origin, kOrvikOriginDefault);
    const OrvikModuleState* factoryModule = snapshot.Find(0, "OrvFact.dll");
    ASSERT_NE(factoryModule, nullptr);
    EXPECT_EQ(factoryModule->origin, kOrvikOriginSection);
    EXPECT_EQ(factoryModule->sectionId, kFactoryComponentId);
    ASSERT_EQ(snapshot.modules[1].size(), 3u);
    EXPECT_EQ(snapshot.catalogs[1].moduleCount, 3u);
    const OrvikModuleState* alpha = snapshot.Find(1, "fact_alpha.dll");
    ASSERT_NE(alpha, nullptr);
    EXPECT_EQ(alpha->origin, kOrvikOriginSection);
    EXPECT_EQ(alpha->sectionId, kCommonId);
    EXPECT_EQ(alpha->module, Platform::FindLoadedModule("fact_alpha.dll"));
    const OrvikModuleState* beta = snapshot.Find(1, "fact_beta.dll");
    ASSERT_NE(beta, nullptr);
    EXPECT_EQ(beta->origin, kOrvikOriginScan);
    EXPECT_EQ(beta->scannedIds, 2u) << "it reports 8201 and 8203";
    EXPECT_EQ(beta->entryPointsCached, 1);
    const OrvikModuleState* preload = snapshot.Find(1, "fact_preload.dll");
    ASSERT_NE(preload, nullptr);
    EXPECT_EQ(preload->origin, kOrvikOriginPreload);
    EXPECT_EQ(preload->references, 1u);
    EXPECT_EQ(snapshot.registered, std::vector<ComponentId>{kInspectionComponentId});
    EXPECT_EQ(snapshot.pending, std::vector<std::string>{"fact_gamma.dll"}) << "idle since its request";

    // Their last components go: both wait for the timer, the scan forgot
    // its entry points.
    section->Release(0);
    scanned->Release(0);
    snapshot = Take();
    EXPECT_EQ(snapshot.factory.timerRunning, 1);
    EXPECT_EQ(snapshot.factory.pendingCount, 3u);
    ASSERT_NE(snapshot.Find(1, "fact_beta.dll"), nullptr);
    EXPECT_EQ(snapshot.Find(1, "fact_beta.dll")->entryPointsCached, 0);
    EXPECT_EQ(snapshot.Find(1, "fact_beta.dll")->scannedIds, 0u);

    ASSERT_TRUE(DispatchUntilUnloaded({"fact_alpha.dll", "fact_beta.dll"}));
    snapshot = Take();
    EXPECT_EQ(snapshot.factory.timerRunning, 0);
    EXPECT_EQ(snapshot.pending, std::vector<std::string>{});
    EXPECT_EQ(snapshot.Find(1, "fact_alpha.dll"), nullptr);
    EXPECT_EQ(snapshot.Find(1, "fact_beta.dll"), nullptr);
    EXPECT_NE(snapshot.Find(1, "fact_preload.dll"), nullptr) << "preloaded modules stay with their catalog";
    EXPECT_NE(snapshot.Find(0, "fact_gamma.dll"), nullptr) << "a catalog never frees its default module";
    EndFactory();
    DropLeftoverReference("fact_gamma.dll");
}

TEST_F(Inspection, SnapshotAtShutdownShowsTheLogFileAndReleasedInstances)
{
    WriteOrvikIni("[logdefault]\nwritetologfile=E\n[8201]\ndll=fact_alpha.dll\n[8205]\ndll=fact_shared.dll\n");
    Factory()->SetRootPath(scratch_.Framework().c_str());
    Snapshot snapshot = Take();
    EXPECT_EQ(std::string(snapshot.factory.logFile), "") << "no component asked how to log yet";

    IProviderProbe* component = client_->Keep(kCommonId);
    ASSERT_NE(component, nullptr);
    LogQuery query{};
    component->QueryLog(&query);
    component->Release(0);
    ASSERT_EQ(Use(kSharedId).tag, kSharedTag);

    snapshot = Take();
    EXPECT_EQ(snapshot.factory.logFileOpen, 1);
    EXPECT_EQ(std::string(snapshot.factory.logFile).rfind(scratch_.Framework() + "\\OrvikLog\\", 0), 0u)
        << snapshot.factory.logFile;
    EXPECT_EQ(snapshot.registered, (std::vector<ComponentId>{kInspectionComponentId, kSharedId}));

    // The host's shutdown: the shared instances first; the inspection stays.
    Factory()->ReleaseRegisteredInstances();
    snapshot = Take();
    EXPECT_EQ(snapshot.registered, std::vector<ComponentId>{kInspectionComponentId});
    std::sort(snapshot.pending.begin(), snapshot.pending.end());
    EXPECT_EQ(snapshot.pending, (std::vector<std::string>{"fact_alpha.dll", "fact_shared.dll"}));

    // Queued modules are never tried once the factory ended.
    EndFactory();
    DropLeftoverReference("fact_alpha.dll");
    DropLeftoverReference("fact_shared.dll");
}

TEST_F(Inspection, ScannedModulesFreedAtTheEndAreTraced)
{
    WriteOrvikIni("dlls=fact_beta.dll\n");
    ASSERT_EQ(Use(kBetaOnlyId).tag, kBetaTag);
    RecordingSink sink;
    InstalledSink installed(Inspect(), &sink);
    EndFactory();
    installed.Forget();
    EXPECT_EQ(sink.KindsFor("fact_beta.dll"), std::vector<uint32_t>{kOrvikTraceUnloadDone});
    const size_t seen = sink.Events().size();
    LoadClient();
    ASSERT_EQ(Use(kBetaOnlyId).tag, kBetaTag);
    EXPECT_EQ(sink.Events().size(), seen) << "the next factory starts without a sink";
}

TEST_F(Inspection, TraceFollowsOneRequestFromRouteToUnload)
{
    WriteOrvikIni("[8201]\ndll=fact_alpha.dll\n");
    IOrvikComponentFactory* factory = Factory();
    IOrvikInspection* inspection = Inspect();
    RecordingSink sink;
    const InstalledSink installed(inspection, &sink);

    ASSERT_EQ(Use(kCommonId).tag, kAlphaTag);
    ASSERT_TRUE(DispatchUntilUnloaded({"fact_alpha.dll"}));
    EXPECT_EQ(sink.KindsFor("fact_alpha.dll"),
              (std::vector<uint32_t>{kOrvikTraceRoute, kOrvikTraceLoad, kOrvikTraceIdleNotice, kOrvikTraceUnloadAsked,
                                     kOrvikTraceUnloadDone}));
    const std::vector<Event> events = sink.Events();
    const uint64_t thread = Platform::CurrentThreadId();
    for (size_t i = 0; i < events.size(); ++i) {
        EXPECT_EQ(events[i].thread, thread) << "requests, idle notice and timer all run on this thread";
        if (i > 0) {
            EXPECT_GE(events[i].time, events[i - 1].time);
        }
    }
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events[0].route, kOrvikRouteSection);
    EXPECT_EQ(events[0].id, kCommonId);
    EXPECT_EQ(events[0].config, "");

    // Asked for again: loaded again; while a component lives it stays.
    IProviderProbe* kept = client_->Keep(kCommonId);
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(factory->TryUnloadModule(Platform::FindLoadedModule("fact_alpha.dll")), 0);
    const std::vector<Event> all = sink.Events();
    const std::vector<Event> later(all.begin() + static_cast<std::ptrdiff_t>(events.size()), all.end());
    std::vector<uint32_t> kinds;
    for (const Event& event : later) kinds.push_back(event.kind);
    EXPECT_EQ(kinds, (std::vector<uint32_t>{kOrvikTraceRoute, kOrvikTraceReload, kOrvikTraceUnloadAsked,
                                            kOrvikTraceUnloadRefused}));
    EXPECT_EQ(later.back().detail, kOrvikRefusedModuleBusy);
    kept->Release(0);
    ASSERT_TRUE(DispatchUntilUnloaded({"fact_alpha.dll"}));

    // A shared instance answers without a catalog; a missing id goes nowhere.
    const size_t before = sink.Events().size();
    EXPECT_EQ(factory->CreateComponentByID(kInspectionComponentId, nullptr), inspection);
    EXPECT_EQ(factory->CreateComponentByID(8999, ""), nullptr);
    const std::vector<Event> now = sink.Events();
    const std::vector<Event> routes(now.begin() + static_cast<std::ptrdiff_t>(before), now.end());
    ASSERT_EQ(routes.size(), 2u);
    EXPECT_EQ(routes[0].route, kOrvikRouteRegistered);
    EXPECT_EQ(routes[0].id, kInspectionComponentId);
    EXPECT_EQ(routes[1].route, kOrvikRouteNothing);
    EXPECT_EQ(routes[1].id, 8999u);
    debug_.Take();
}

TEST_F(Inspection, LoadsThatFailAreTracedWithTheirError)
{
    WriteOrvikIni("dlls=fact_missing.dll\n");
    IOrvikInspection* inspection = Inspect();
    RecordingSink sink;
    const InstalledSink installed(inspection, &sink);
    EXPECT_EQ(Use(kBetaOnlyId).tag, 0);
    const std::vector<Event> events = sink.Events();
    ASSERT_GE(events.size(), 1u);
    EXPECT_EQ(events[0].kind, kOrvikTraceLoadFailed);
    EXPECT_EQ(events[0].module, "fact_missing.dll");
    EXPECT_EQ(events[0].error, Platform::kErrorModuleNotFound);
    debug_.Take();
}

TEST_F(Inspection, RemovingTheSinkWaitsForACallUnderWay)
{
    WriteOrvikIni("[8201]\ndll=fact_alpha.dll\n");
    IOrvikComponentFactory* factory = Factory();
    IOrvikInspection* inspection = Inspect();
    RecordingSink sink;
    const InstalledSink installed(inspection, &sink);
    sink.Hold();
    // The registered route calls the sink without any lock of the factory's.
    std::thread request([&] { factory->CreateComponentByID(kInspectionComponentId, nullptr); });
    sink.WaitForCalls(1);

    auto removed = std::async(std::launch::async, [&] { return inspection->SetTraceSink(nullptr); });
    EXPECT_EQ(removed.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout)
        << "returned while the sink was still being called";
    sink.Open();
    EXPECT_EQ(removed.get(), 1);
    request.join();

    ASSERT_EQ(Use(kCommonId).tag, kAlphaTag);
    EXPECT_EQ(sink.Events().size(), 1u) << "nothing after the removal";
}

TEST_F(Inspection, SinkComesAndGoesWhileThreadsRequest)
{
    WriteOrvikIni("[8201]\ndll=fact_alpha.dll\n");
    IOrvikComponentFactory* factory = Factory();
    IOrvikInspection* inspection = Inspect();
    std::atomic<bool> stop{false};
    std::atomic<int> created{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([&] {
            while (!stop) {
                if (Use(kCommonId).tag == kAlphaTag) ++created;
                factory->CreateComponentByID(kInspectionComponentId, nullptr);
            }
        });
    }
    for (int round = 0; round < 50; ++round) {
        RecordingSink sink;
        EXPECT_EQ(inspection->SetTraceSink(&sink), 1);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_EQ(inspection->SetTraceSink(nullptr), 1);
        const size_t seen = sink.Events().size();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_EQ(sink.Events().size(), seen) << "called after its removal";
    }  // each sink ends here: a late call would reach a dead object
    stop = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_GT(created.load(), 0);
}

// Installs another sink from inside OnTrace, which would wait for itself.
class InstallingSink : public IOrvikTraceSink {
public:
    explicit InstallingSink(IOrvikInspection* inspection) : inspection_(inspection) {}
    void OnTrace(const OrvikTraceEvent*) override { results.push_back(inspection_->SetTraceSink(nullptr)); }
    std::vector<int32_t> results;

private:
    IOrvikInspection* inspection_;
};

TEST_F(Inspection, SinkCannotReplaceItselfAndAnotherSinkTakesOver)
{
    IOrvikComponentFactory* factory = Factory();
    IOrvikInspection* inspection = Inspect();
    InstallingSink installing(inspection);
    RecordingSink recording;
    const InstalledSink installed(inspection, &installing);
    factory->CreateComponentByID(kInspectionComponentId, nullptr);
    EXPECT_EQ(installing.results, std::vector<int32_t>{0}) << "refused from inside the sink";

    ASSERT_EQ(inspection->SetTraceSink(&recording), 1);
    factory->CreateComponentByID(kInspectionComponentId, nullptr);
    EXPECT_EQ(installing.results.size(), 1u) << "the first sink was replaced";
    EXPECT_EQ(recording.Events().size(), 1u);
}

}  // namespace
}  // namespace Orvik::Testing
