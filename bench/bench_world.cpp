#include "bench/bench_world.h"

#include <filesystem>
#include <system_error>

#include "bench/bench_files.h"
#include "bench/floors.h"
#include "bench/modules/plain_probe.h"
#include "orvik/platform/debug_output.h"

namespace Orvik::Bench {

namespace {

struct Provider {
    const char* file;
    ComponentId id;
    int32_t tag;
};

// In the order of World::ProviderModule.
constexpr Provider kProviders[] = {
    {"bench_section.dll", kSectionId, kSectionTag},
    {"bench_scanned.dll", kScannedId, kScannedTag},
    {"bench_shared.dll", kSharedId, kSharedTag},
    {"bench_filler.dll", kFillerId, kFillerTag},
};

std::string Expect(const char* what, int32_t answer, int32_t expected)
{
    if (answer == expected) return "";
    return std::string(what) + " answered " + std::to_string(answer) + " instead of " + std::to_string(expected);
}

std::string Reaches(IBenchClient& client, const char* what, ClientOperation operation)
{
    if (client.RunBatch(operation, 0, 1) == 0) return "";
    return std::string(what) + " answered from the wrong module or none";
}

}  // namespace

World& World::Get()
{
    static World world;
    return world;
}

World::World() { error_ = SetUp(); }

// The sink runs on the writing thread, and requests run on several.
void World::CollectDebugLine(const char* text, void* self)
{
    World& world = *static_cast<World*>(self);
    std::lock_guard<std::mutex> guard(world.debugMutex_);
    world.debugLines_.push_back(text);
}

size_t World::debugLines() const
{
    std::lock_guard<std::mutex> guard(debugMutex_);
    return debugLines_.size();
}

std::string World::lastDebugLine() const
{
    std::lock_guard<std::mutex> guard(debugMutex_);
    return debugLines_.empty() ? "" : debugLines_.back();
}

std::string World::SetUp()
{
    Platform::SetDebugSink(CollectDebugLine, this);
    const std::filesystem::path directory = ProgramDirectory();
    WriteTextFile(directory / "Orvik.ini", RequestConfiguration());

    // The providers are loaded and each keeps one component alive; the
    // shared one registers itself with the factory as it is made.
    for (int i = 0; i < kProviderCount; ++i) {
        modules_[i] = Platform::LoadModule(FrameworkPath(directory / kProviders[i].file).c_str());
        if (modules_[i] == nullptr) return std::string("cannot load ") + kProviders[i].file;
        creators_[i] = FindModuleExport<Exports::CreateComponent>(modules_[i]);
        pinned_[i] = creators_[i] != nullptr ? creators_[i](static_cast<int32_t>(kProviders[i].id), 0) : nullptr;
        if (pinned_[i] == nullptr) return std::string("no component from ") + kProviders[i].file;
    }
    const std::string unmanaged = LoadUnmanaged();
    if (!unmanaged.empty()) return unmanaged;
    clientModule_ = Platform::LoadModule(FrameworkPath(directory / "bench_client.dll").c_str());
    auto createClient = FindModuleExport<Exports::CreateComponent>(clientModule_);
    if (createClient == nullptr) return "cannot load bench_client.dll";
    client_ = static_cast<IBenchClient*>(createClient(static_cast<int32_t>(IBenchClient::kComponentId), 0));
    if (client_ == nullptr) return "no client component";
    factory_ = client_->Factory();
    if (factory_ == nullptr) return "the client obtained no factory";
    if (factory_->IsRegisteredInstance(sharedInstance()) != 1) return "the shared instance is not registered";
    client_->SetCrossModuleCreator(creators_[kScannedModule], kScannedId);
    client_->SetPlainCreator(Native::Symbol(plainModule_, kPlainCreateName));

    // Every path answers from the module it is meant to reach.
    for (const std::string& failure :
         {Reaches(*client_, "in-module floor", ClientOperation::kInModuleFloor),
          Reaches(*client_, "cross-module floor", ClientOperation::kCrossModuleFloor),
          Expect("loader lookups", LoaderLookups(sectionModule()), 3),
          Expect("idle-cycle floor", LoaderIdleCycle(plainPath_, 0), kPlainTag),
          Reaches(*client_, "shared-map floor", ClientOperation::kSharedMapFloor),
          Reaches(*client_, "locked floor", ClientOperation::kLockedFloor),
          Reaches(*client_, "in-module component", ClientOperation::kOrvikInModule),
          Reaches(*client_, "cross-module component", ClientOperation::kOrvikCrossModule),
          Reaches(*client_, "held call", ClientOperation::kHeldCall),
          Expect("export lookups", client_->ExportLookups(sectionModule()), 3),
          Reaches(*client_, "idle scanned request", ClientOperation::kIdleScannedRequest),
          Reaches(*client_, "idle section request", ClientOperation::kIdleSectionRequest),
          Reaches(*client_, "section request", ClientOperation::kSectionRequest),
          Reaches(*client_, "scanned request", ClientOperation::kScannedRequest),
          Reaches(*client_, "shared request", ClientOperation::kSharedRequest)}) {
        if (!failure.empty()) return failure;
    }
    if (Platform::FindLoadedModule("bench_section.dll") != sectionModule()) {
        return "the catalog's section module is not the one the lookups ask";
    }
    if (!debugLines_.empty()) return "debugger line while setting up: " + debugLines_.front();
    return "";
}

std::string World::CrowdAtLeastTo(const Crowding& crowding)
{
    if (!error_.empty()) return error_;
    if (registeredInstances() > crowding.registeredInstances) {
        return std::to_string(registeredInstances()) + " instances are registered already";
    }
    while (registeredInstances() < crowding.registeredInstances) {
        IComponent* filler = creators_[kFillerModule](static_cast<int32_t>(kFillerId), 0);
        if (filler == nullptr) return "no filler component";
        factory_->RegisterInstance(kFillerRegistryBase + static_cast<ComponentId>(fillers_.size()), filler);
        fillers_.push_back(filler);
    }
    for (IComponent* filler : fillers_) {
        if (factory_->IsRegisteredInstance(filler) != 1) return "a filler is not registered";
    }

    int loaded = LoadedObjectCount();
    if (loaded > crowding.loadedObjects) {
        return std::to_string(loaded) + " shared objects are loaded already";
    }
    while (loaded < crowding.loadedObjects) {
        const std::string failure = LoadBallast();
        if (!failure.empty()) return failure;
        loaded = LoadedObjectCount();
    }
    return "";
}

// The idle modules, held without a component, and the plain module.
std::string World::LoadUnmanaged()
{
    const std::filesystem::path directory = ProgramDirectory();
    for (const char* file : {"bench_idle_scanned.dll", "bench_idle_section.dll"}) {
        const Platform::ModuleHandle module = Platform::LoadModule(FrameworkPath(directory / file).c_str());
        if (module == nullptr) return std::string("cannot load ") + file;
        idleModules_.push_back(module);
    }
    plainPath_ = (directory / "bench_plain.dll").make_preferred().string();
    plainModule_ = Native::Open(plainPath_.c_str());
    if (plainModule_ == nullptr || Native::Symbol(plainModule_, kPlainCreateName) == nullptr) {
        return "cannot load bench_plain.dll";
    }
    return "";
}

std::string World::LoadBallast()
{
    const std::filesystem::path directory = ProgramDirectory() / "ballast";
    const std::filesystem::path copy = directory / ("b" + std::to_string(ballast_.size()) + ".dll");
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    std::filesystem::copy_file(ProgramDirectory() / "bench_ballast.dll", copy,
                               std::filesystem::copy_options::overwrite_existing, error);
    if (error) return "cannot copy bench_ballast.dll: " + error.message();
    const Platform::ModuleHandle module = Platform::LoadModule(FrameworkPath(copy).c_str());
    if (module == nullptr) return "cannot load " + copy.string();
    ballast_.push_back(module);
    return "";
}

std::vector<std::string> World::TearDown()
{
    const size_t before = debugLines();
    if (error_.empty()) {
        client_->Release(0);
        for (int i : {kSectionModule, kScannedModule, kFillerModule}) pinned_[i]->Release(0);
        // The fillers and the shared instance go with the registered instances.
        factory_->ReleaseRegisteredInstances();
        factory_->Release(1);
    }
    for (Platform::ModuleHandle module : ballast_) Platform::ReleaseModule(module);
    for (Platform::ModuleHandle module : idleModules_) Platform::ReleaseModule(module);
    if (plainModule_ != nullptr) Native::Close(plainModule_);
    if (clientModule_ != nullptr) Platform::ReleaseModule(clientModule_);
    for (Platform::ModuleHandle module : modules_) {
        if (module != nullptr) Platform::ReleaseModule(module);
    }
    Platform::SetDebugSink(nullptr, nullptr);
    client_ = nullptr;
    std::lock_guard<std::mutex> guard(debugMutex_);
    return std::vector<std::string>(debugLines_.begin() + static_cast<std::ptrdiff_t>(before), debugLines_.end());
}

}  // namespace Orvik::Bench
