#pragma once
// COrvikComponentFactory: the factory component (id 361), one per process,
// in the factory module OrvFact.dll. It answers requests by id with a
// registered shared instance or through the catalog of the configuration
// path, unloads modules that fall idle, and owns the process's log files.
//
// The operations are spread over files by concern:
//   factory_object.cpp     construction, requests, configuration paths, root path
//   instance_registry.cpp  shared instances, idle modules and the unload timer
//   module_unloading.cpp   unloading a module, shutdown
//   log/log_settings.cpp   QueryLogSetting
//   log/log_files.cpp      creating, replacing and pruning log files

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "catalog/component_class_info_list.h"
#include "module/component_factory.h"
#include "module/component_impl.h"
#include "platform/thread_timer.h"
#include "util/file_operator.h"
#include "util/string_manipulate.h"

namespace Orvik {

class COrvikComponentFactory
    : public TComponentImpl<IOrvikComponentFactory, COrvikComponentFactory, kFactoryComponentId, 1, 1>,
      public FileOperator<COrvikComponentFactory>,
      public StringManipulate<COrvikComponentFactory> {
public:
    COrvikComponentFactory();
    ~COrvikComponentFactory() override;

    IComponent* CreateComponentByID(ComponentId id, const char* configPath) override;
    void QueryLogSetting(const char* configPath, ComponentId id, uint32_t* debugOutputMask, uint32_t* logFileMask,
                         LogFileInfo** info) override;
    void AddRegisteredInstance(IComponent* instance) override;
    void ReleaseRegisteredInstances() override;
    int32_t TryUnloadModule(Platform::ModuleHandle module) override;
    void NotifyModuleIdle(Platform::ModuleHandle module) override;
    void SetRootPath(const char* path) override;
    int32_t CopyRootPath(char* buffer) override;
    void RegisterInstance(ComponentId id, IComponent* instance) override;
    int32_t IsRegisteredInstance(IComponent* instance) override;
    void RetryFailedModules(const char* configPath) override;
    Platform::FileHandle StartNewLogFile() override;
    void Uninitialize() override;

    // Relative paths are completed with the host directory.
    const char* GetBaseDirectory() const { return GetHostDirectory(); }
    // Lists the log directory's ".log" files for RemoveOldLogFiles.
    void OnFileFound(const Platform::FindData& data, void* context) override;

    // The file actually read for a configuration path, following the
    // "Redirect"/"Path" entries.
    void ResolveConfigPath(const char* path, char* buffer, int size);
    void CreateLogFile();
    void RemoveOldLogFiles();
    // One pass over the modules waiting to be unloaded.
    void UnloadPendingModules();
    static void UnloadTimerProc(void* window, uint32_t message, Platform::TimerId id, uint32_t time);

private:
    // Module handles in the order of their numeric value.
    struct HandleOrder {
        bool operator()(Platform::ModuleHandle a, Platform::ModuleHandle b) const
        {
            return reinterpret_cast<uintptr_t>(a) < reinterpret_cast<uintptr_t>(b);
        }
    };
    // The latest file time first.
    struct LaterFirst {
        bool operator()(const Platform::FileTime& a, const Platform::FileTime& b) const;
    };
    using OldFileList = std::map<Platform::FileTime, std::string, LaterFirst>;

    // "<root>\OrvikLog\" into a 260-byte buffer; false when it does not fit.
    bool FormLogDirectory(char* directory);
    // Every catalog of a configuration path, in the paths' order, then the
    // default catalog.
    void ForEachCatalog(const std::function<void(CComponentClassInfoList&)>& visit);

    // Fields, in the order of construction.
    std::map<ComponentId, IComponent*> registeredInstances_;
    std::vector<IComponent*> registeredList_;
    // Released by ReleaseRegisteredInstances: listed, never used again.
    std::set<IComponent*> releasedInstances_;
    Platform::CriticalSection factoryLock_;
    LogFileInfo logFileInfo_;
    // Two first log-setting queries must not open two files.
    std::mutex logFileOpening_;
    CComponentClassInfoList defaultCatalog_;
    std::map<std::string, std::unique_ptr<CComponentClassInfoList>> catalogs_;
    std::set<Platform::ModuleHandle, HandleOrder> pendingModules_;
    Platform::TimerId timerId_ = 0;
    char rootPath_[Platform::kMaxPath];
};

// True from the factory's construction to the start of its Uninitialize.
bool IsFactoryAlive();
void SetFactoryAlive(bool alive);

}  // namespace Orvik
