#include "bootstrap/factory_bootstrap.h"
#include "factory/component_factory.h"
#include "module/module_exports.h"

namespace Orvik {

int32_t COrvikComponentFactory::TryUnloadModule(Platform::ModuleHandle module)
{
    // Also missing for a handle that names no loaded module.
    auto canUnloadNow =
        reinterpret_cast<OrvikDllCanUnloadNowExport>(Platform::FindExport(module, "OrvikDllCanUnloadNow"));
    if (canUnloadNow == nullptr || canUnloadNow() == 0) return 0;
    ForEachCatalog([module](CComponentClassInfoList& catalog) { catalog.FreeModule(module); });
    return 1;
}

void COrvikComponentFactory::Uninitialize()
{
    SetFactoryAlive(false);
    Platform::EnterLock(&factoryLock_);
    // In the paths' order: destroying a catalog may free modules.
    for (auto& entry : catalogs_) entry.second.reset();
    catalogs_.clear();
    pendingModules_.clear();
    if (timerId_ != 0) {
        // Safe from any thread: the platform stops another thread's timer too.
        Platform::StopThreadTimer(timerId_);
        timerId_ = 0;
    }
    Platform::LeaveLock(&factoryLock_);
    Platform::DeleteLock(&factoryLock_);

    Platform::FileHandle& file = logFileInfo_.file;
    if (file != nullptr && file != Platform::InvalidFileHandle()) Platform::CloseFile(file);
    file = nullptr;
    RemoveOldLogFiles();
}

// Members go in the reverse order of their construction: the pending set,
// the catalog map, the default catalog, then the registry, which leaves the
// instances alive.
COrvikComponentFactory::~COrvikComponentFactory() { ForgetFactory(this); }

}  // namespace Orvik
