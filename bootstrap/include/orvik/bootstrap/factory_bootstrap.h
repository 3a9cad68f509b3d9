#pragma once
/// \file
/// How a module obtains the factory: once, into a module-wide pointer, from
/// the factory module it was given, or that is already loaded, or that its
/// profile names.

#include <atomic>

#include "orvik/module/component.h"
#include "orvik/module/component_factory.h"
#include "orvik/platform/module_loader.h"

namespace Orvik {

/// Where the factory module comes from when the module holds no factory yet.
enum class FactoryModuleSource {
    /// The handle given by SetFactoryHandle, else the module the profile names.
    GivenHandle,
    /// An "OrvFact.dll" already loaded in the process, else the profile's.
    LoadedModule,
};

namespace Detail {
/// The module-wide factory pointer behind ModuleFactory(). Two threads may
/// load at once; both obtain the same singleton factory.
extern std::atomic<IOrvikComponentFactory*> g_moduleFactory;
}  // namespace Detail

/// The module's factory; null until LoadFactory succeeds, then kept. Read
/// inline: every request and every release of a smart pointer asks it.
inline IOrvikComponentFactory* ModuleFactory() { return Detail::g_moduleFactory.load(std::memory_order_acquire); }
/// Drops the module's factory pointer when it names this factory. The factory
/// module calls it as its factory ends, so that its own timer and requests
/// never reach a destroyed factory but obtain the next one.
void ForgetFactory(IOrvikComponentFactory* factory);

/// The factory module as source says, else the one named by the profile of
/// configPath ("Orvik.ini" in the host's directory when null or empty, a
/// relative path from there, following "[Redirect] Path"), loaded and never
/// freed. Null when it does not load.
Platform::ModuleHandle LoadFactoryModule(const char* configPath, FactoryModuleSource source);
/// The factory of that module, from its CreateComponent export with 361 and
/// creator id 0; null, with a debug line, when the export is missing or
/// yields nothing.
IOrvikComponentFactory* CreateFactoryFromModule(Platform::ModuleHandle module);
/// Obtains the factory into the module-wide pointer. When the factory module
/// cannot be loaded, writes one line and leaves the pointer as it was; when
/// the module loads but yields no factory, writes the lookup's or creation's
/// line and one more, and the pointer becomes null.
void LoadFactory(const char* configPath, FactoryModuleSource source);

}  // namespace Orvik
