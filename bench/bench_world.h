#pragma once
// The process the in-process benchmarks run in: the program is the host, as
// in an application. It writes "Orvik.ini" beside itself, loads the client
// module, whose code makes the requests, and the provider modules.
//
// Each provider module keeps one live component for the whole run (the
// module is in use), so releasing a request's component never makes it
// idle. The two idle modules keep none: each release of theirs sends the
// idle notice and the catalog drops its module; the world holds one
// reference to each, as another part of a process would, so a request
// finds the module loaded and opens it again. The plain module (built
// without the framework) is opened with the loader itself and held.

#include <mutex>
#include <string>
#include <vector>

#include "bench/modules/bench_interfaces.h"
#include "bench/native_loader.h"
#include "orvik/platform/module_loader.h"

namespace Orvik::Bench {

// How crowded the process is while a benchmark runs.
struct Crowding {
    int loadedObjects;
    int registeredInstances;
};

class World {
public:
    // Set up on first use; error() tells why when it could not be.
    static World& Get();
    const std::string& error() const { return error_; }

    // Loads more shared objects and registers more instances until the
    // process is as crowded as asked; an error text when it already is more
    // crowded (nothing can be taken back) or growing failed.
    std::string CrowdAtLeastTo(const Crowding& crowding);
    int registeredInstances() const { return static_cast<int>(fillers_.size()) + 1; }

    IBenchClient* client() const { return client_; }
    IOrvikComponentFactory* factory() const { return factory_; }
    Platform::ModuleHandle sectionModule() const { return modules_[kSectionModule]; }
    // The plain module's native path, which the idle cycle's floor opens.
    const std::string& plainModulePath() const { return plainPath_; }
    IComponent* sharedInstance() const { return pinned_[kSharedModule]; }
    // Debugger lines written so far: the framework's error reports, from
    // whichever thread wrote them.
    size_t debugLines() const;
    std::string lastDebugLine() const;

    // Releases everything in the order a host does; the debugger lines
    // written meanwhile are returned.
    std::vector<std::string> TearDown();

private:
    enum ProviderModule { kSectionModule, kScannedModule, kSharedModule, kFillerModule, kProviderCount };

    World();
    std::string SetUp();
    std::string LoadBallast();
    std::string LoadUnmanaged();
    static void CollectDebugLine(const char* text, void* self);

    std::string error_;
    mutable std::mutex debugMutex_;
    std::vector<std::string> debugLines_;
    Platform::ModuleHandle modules_[kProviderCount] = {};
    Exports::CreateComponent::Function creators_[kProviderCount] = {};
    IComponent* pinned_[kProviderCount] = {};
    Platform::ModuleHandle clientModule_ = nullptr;
    IBenchClient* client_ = nullptr;
    IOrvikComponentFactory* factory_ = nullptr;
    std::vector<IComponent*> fillers_;
    std::vector<Platform::ModuleHandle> ballast_;
    std::vector<Platform::ModuleHandle> idleModules_;
    std::string plainPath_;
    Native::Module plainModule_ = nullptr;
};

}  // namespace Orvik::Bench
