#include <string>
#include <utility>

#include "catalog/trace_gate.h"
#include "orvik/bootstrap/factory_bootstrap.h"
#include "factory/component_factory.h"
#include "orvik/module/module_exports.h"

namespace Orvik {

int32_t COrvikComponentFactory::TryUnloadModule(Platform::ModuleHandle module)
try {
    const StateGuard guard(stateLock_);
    // The path is taken while the module is surely there, for every event.
    const bool tracing = Trace::Active();
    const std::string path = tracing ? Trace::ModulePath(module) : std::string();
    const auto refused = [&](uint32_t why) {
        if (tracing) Trace::Module(kOrvikTraceUnloadRefused, module, "", path.c_str(), 0, why);
        return 0;
    };
    if (tracing) Trace::Module(kOrvikTraceUnloadAsked, module, "", path.c_str());
    // A creation through the module is under way: it stays. Its component
    // will say when the module is idle again.
    bool creating = false;
    ForEachCatalog([&](CComponentClassInfoList& catalog) { creating = !catalog.PrepareUnload(module) || creating; });
    if (creating) return refused(kOrvikRefusedCreating);
    // Also missing for a handle that names no loaded module.
    auto canUnloadNow = FindModuleExport<Exports::OrvikDllCanUnloadNow>(module);
    if (canUnloadNow == nullptr) return refused(kOrvikRefusedNoExport);
    if (canUnloadNow() == 0) return refused(kOrvikRefusedModuleBusy);
    ForEachCatalog([module](CComponentClassInfoList& catalog) { catalog.FreeModule(module); });
    if (tracing) Trace::Module(kOrvikTraceUnloadDone, module, "", path.c_str());
    return 1;
} catch (...) {
    return 0;
}

void COrvikComponentFactory::Uninitialize()
try {
    SetFactoryAlive(false);
    Platform::TimerId timer = 0;
    {
        const Platform::LockGuard guard(factoryLock_);
        const StateGuard state(stateLock_);
        // In the paths' order: destroying a catalog may free modules.
        for (auto& entry : catalogs_) entry.second.reset();
        catalogs_.clear();
        pendingModules_.clear();
        timer = std::exchange(timerId_, 0);
    }
    // Safe from any thread: the platform stops another thread's timer too,
    // and waits for a tick under way there, which needs the state lock.
    if (timer != 0) Platform::StopThreadTimer(timer);
    Platform::DeleteLock(&factoryLock_);

    logFiles_.CloseLogFile();
    logFiles_.RemoveOldLogFiles();
} catch (...) {
}

// Members go in the reverse order of their construction: the pending set,
// the catalog map, the default catalog, then the registry, which leaves the
// instances alive.
COrvikComponentFactory::~COrvikComponentFactory() { ForgetFactory(this); }

}  // namespace Orvik
