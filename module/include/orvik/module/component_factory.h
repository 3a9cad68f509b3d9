#pragma once
// The factory's interface. Separately built modules call the factory through
// this fixed operation order; never reorder or insert.

#include "orvik/module/component.h"
#include "orvik/module/log_file_info.h"
#include "orvik/platform/file_system.h"
#include "orvik/platform/module_loader.h"

namespace Orvik {

class IOrvikComponentFactory : public IComponent {
public:
    static constexpr ComponentId kComponentId = kFactoryComponentId;

    // A registered shared instance, else a component made by the catalog of
    // configPath (null or empty: the default catalog); null when none.
    virtual IComponent* CreateComponentByID(ComponentId id, const char* configPath) = 0;
    virtual void QueryLogSetting(const char* configPath, ComponentId id, uint32_t* debugOutputMask,
                                 uint32_t* logFileMask, LogFileInfo** info) = 0;
    virtual void AddRegisteredInstance(IComponent* instance) = 0;
    virtual void ReleaseRegisteredInstances() = 0;
    virtual int32_t TryUnloadModule(Platform::ModuleHandle module) = 0;
    virtual void NotifyModuleIdle(Platform::ModuleHandle module) = 0;
    virtual void SetRootPath(const char* path) = 0;
    // buffer holds 260 bytes.
    virtual int32_t CopyRootPath(char* buffer) = 0;
    virtual void RegisterInstance(ComponentId id, IComponent* instance) = 0;
    virtual int32_t IsRegisteredInstance(IComponent* instance) = 0;
    virtual void RetryFailedModules(const char* configPath) = 0;
    virtual Platform::FileHandle StartNewLogFile() = 0;

protected:
    ~IOrvikComponentFactory() = default;
};

}  // namespace Orvik
