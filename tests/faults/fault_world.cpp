#include "tests/faults/fault_world.h"

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "orvik/module/module_exports.h"
#include "orvik/platform/thread_timer.h"
#include "tests/faults/fault_injector.h"
#include "tests/support/test_paths.h"

namespace Orvik {
namespace Faults {

namespace {

// Found without the platform layer, which keeps the executable's path once
// it has read it: the first request of a point reads it itself.
std::string ProgramDirectory()
{
    const Unarmed unarmed;
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

}  // namespace

World::World(std::string scratch) : scratch_(std::move(scratch)) { kept_.reserve(8); }

void World::LoadClient()
{
    const std::string path = Testing::FrameworkPath(ProgramDirectory() + "/" + kClientModule);
    clientModule_ = Platform::LoadModule(path.c_str());
    auto create = FindModuleExport<Exports::CreateComponent>(clientModule_);
    client_ = create != nullptr ? static_cast<IFactoryClient*>(create(IFactoryClient::kComponentId, 0)) : nullptr;
}

void World::SetRegistry(const char* path) { FindModuleExport<Exports::SetDLLRegistry>(clientModule_)(path); }

ProbeReport World::Use(ComponentId id)
{
    ProbeReport report{};
    if (client_ != nullptr) client_->Use(id, &report);
    return report;
}

IProviderProbe* World::Keep(ComponentId id)
{
    IProviderProbe* kept = client_ != nullptr ? client_->Keep(id) : nullptr;
    if (kept != nullptr) kept_.push_back(kept);
    return kept;
}

IOrvikComponentFactory* World::Factory()
{
    if (factory_ == nullptr && client_ != nullptr) factory_ = client_->Connect();
    return factory_;
}

void World::SetLogRoot()
{
    if (IOrvikComponentFactory* factory = Factory()) factory->SetRootPath(Testing::FrameworkPath(scratch_).c_str());
}

std::string World::LogDirectory() const { return scratch_ + "/OrvikLog"; }

bool World::DispatchUntilUnloaded(std::initializer_list<const char*> modules, int milliseconds)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    for (;;) {
        if (std::none_of(modules.begin(), modules.end(), IsLoaded)) return true;
        if (std::chrono::steady_clock::now() >= deadline) return false;
        Platform::DispatchMessagesFor(20);
    }
}

// The test's own look, not counted: how often it looks depends on time.
bool World::IsLoaded(const char* module)
{
    const Unarmed unarmed;
    return Platform::FindLoadedModule(module) != nullptr;
}

int World::CanUnloadNow(const char* module)
{
    auto canUnloadNow = FindModuleExport<Exports::OrvikDllCanUnloadNow>(Platform::FindLoadedModule(module));
    return canUnloadNow != nullptr ? canUnloadNow() : -1;
}

void World::Shutdown()
{
    for (IProviderProbe* kept : kept_) kept->Release(0);
    kept_.clear();
    IOrvikComponentFactory* factory = Factory();
    if (client_ != nullptr) client_->Release(0);
    client_ = nullptr;
    if (factory != nullptr) {
        factory->ReleaseRegisteredInstances();
        factory->Release(1);
    }
    factory_ = nullptr;
    if (clientModule_ != nullptr) Platform::ReleaseModule(clientModule_);
    clientModule_ = nullptr;
}

}  // namespace Faults
}  // namespace Orvik
