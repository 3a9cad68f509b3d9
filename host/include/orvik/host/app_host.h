#pragma once
/// \file
/// What a program does to run an Orvik application. A program is not a
/// component module: it loads its app module, asks the module's
/// CreateComponent export for its components, dispatches its thread's
/// messages (Platform::DispatchMessagesFor or its own message loop), and at
/// the end shuts the factory down in the one safe order.

#include <string>
#include <vector>

#include "orvik/module/component.h"
#include "orvik/platform/module_loader.h"
#include "orvik/platform/unique_handle.h"

namespace Orvik {
/// What programs use: the app module, shutdown, the debug printer.
namespace Host {

/// The program's directory in the framework's form (backslashes), without a
/// trailing separator.
std::string ProgramDirectory();

/// The program's side of an Orvik application: the app module, its
/// components and the shutdown in order.
/// \code
///   Orvik::Host::AppHost host("MyApp.dll");
///   if (IMyApp* app = host.Create<IMyApp>()) app->Run();
///   host.Shutdown();
/// \endcode
class AppHost {
public:
    /// Loads the app module; a bare name is looked for in the program's
    /// directory first. factoryModule names the factory module that the
    /// configuration loads (its "[361] DLL").
    explicit AppHost(const char* appModule, const char* factoryModule = "OrvFact.dll");
    /// Shuts down, unless Shutdown ran, then frees the app module.
    ~AppHost();
    AppHost(const AppHost&) = delete;
    AppHost& operator=(const AppHost&) = delete;

    /// The app module loaded.
    bool IsLoaded() const { return static_cast<bool>(appModule_); }

    /// The app module's component of Interface::kComponentId, or null. The
    /// host keeps it and releases it at shutdown: do not release it yourself.
    template <class Interface>
    Interface* Create()
    {
        return static_cast<Interface*>(CreateComponent(Interface::kComponentId));
    }
    /// The app module's component of that id, from its CreateComponent
    /// export (creator id 0), or null; kept and released as Create's.
    IComponent* CreateComponent(ComponentId id);

    /// Releases the host's components (the newest first), then the factory's
    /// shared instances, then the factory itself with Release(1), which closes
    /// the log file and prunes old ones. Nothing may use the factory after
    /// this. False when no factory was loaded, so none was ended.
    bool Shutdown();

private:
    Platform::UniqueModule appModule_;
    char factoryModule_[Platform::kMaxPath];
    std::vector<IComponent*> components_;
    bool shutDown_ = false;
};

}  // namespace Host
}  // namespace Orvik
