#pragma once
// What one fault point runs in: the fault host is the program, with the
// client module of the factory tests and their providers beside it, the
// real factory module one level up, and the configuration files "Orvik.ini"
// and "Plugins.ini" built with them. Log files go below a scratch directory
// of the point's own.
//
//   Orvik.ini    [8202] fault_alpha.dll (a section), [8205] fault_shared.dll
//                (a singleton that registers itself), logs "E", keeps 3 files
//   Plugins.ini  scans "dlls=fault_beta.dll" (8203), preloads
//                fault_preload.dll

#include <initializer_list>
#include <string>
#include <vector>

#include "orvik/module/component_factory.h"
#include "orvik/platform/module_loader.h"
#include "tests/factory/modules/probe_interfaces.h"

namespace Orvik {
namespace Faults {

using Testing::IFactoryClient;
using Testing::IProviderProbe;
using Testing::LogQuery;
using Testing::ProbeReport;

constexpr ComponentId kSectionId = Testing::kAlphaOnlyId;
constexpr ComponentId kScannedId = Testing::kBetaOnlyId;
constexpr ComponentId kSharedId = Testing::kSharedId;
// An id whose section sets only a debug-output mask: 0 when a catalog knows
// nothing of its file. Asking loads nothing.
constexpr ComponentId kProbeId = 8299;

constexpr const char kPlugins[] = "Plugins.ini";
constexpr const char kSectionModule[] = "fault_alpha.dll";
constexpr const char kScannedModule[] = "fault_beta.dll";
constexpr const char kSharedModule[] = "fault_shared.dll";
constexpr const char kPreloadModule[] = "fault_preload.dll";
constexpr const char kClientModule[] = "fault_client.dll";

class World {
public:
    // scratch: the point's directory, native form; it holds the log root.
    explicit World(std::string scratch);

    // Loads the client module, which has no factory yet.
    void LoadClient();
    // The configuration the client's requests name ("" for the default).
    void SetRegistry(const char* path);
    // Holds the component of id for the call; tag 0 when none came.
    ProbeReport Use(ComponentId id);
    // The component of id, kept alive; null when none came.
    IProviderProbe* Keep(ComponentId id);
    // The client's factory, obtained if need be; null when none can be had.
    IOrvikComponentFactory* Factory();
    // The factory's log files go below the scratch directory.
    void SetLogRoot();
    // The directory the log files go to, native form.
    std::string LogDirectory() const;

    // Dispatches this thread's messages until none of the modules is
    // loaded, for at most milliseconds; whether they all went.
    static bool DispatchUntilUnloaded(std::initializer_list<const char*> modules, int milliseconds);
    static bool IsLoaded(const char* module);
    // The module's OrvikDllCanUnloadNow, or -1 when it is not loaded.
    static int CanUnloadNow(const char* module);

    // Releases the components kept, the shared instances and the factory,
    // then unloads the client: the order a host ends in.
    void Shutdown();

private:
    std::string scratch_;
    Platform::ModuleHandle clientModule_ = nullptr;
    IFactoryClient* client_ = nullptr;
    IOrvikComponentFactory* factory_ = nullptr;
    std::vector<IProviderProbe*> kept_;
};

}  // namespace Faults
}  // namespace Orvik
