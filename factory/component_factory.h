#pragma once
// COrvikComponentFactory: the factory component (id 361), one per process,
// in the factory module OrvFact.dll. It answers requests by id with a
// registered shared instance or through the catalog of the configuration
// path, unloads modules that fall idle, and owns the process's log files.
//
// The operations are spread over files by concern:
//   factory_object.cpp     construction, requests, configuration paths,
//                          root path, log settings
//   instance_registry.cpp  shared instances, idle modules and the unload timer
//   module_unloading.cpp   unloading a module, shutdown
//   factory_snapshot.cpp   the inspection: snapshot and trace sink
// Log settings and log files are the log library's (log/).

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "catalog/component_class_info_list.h"
#include "log/log_files.h"
#include "factory/factory_inspection.h"
#include "factory/grow_only_set.h"
#include "platform/mutex.h"
#include "platform/open_hash_map.h"
#include "orvik/module/component_factory.h"
#include "orvik/module/component_impl.h"
#include "orvik/platform/lock.h"
#include "orvik/platform/thread_annotations.h"
#include "orvik/platform/thread_timer.h"
#include "orvik/util/file_operator.h"
#include "orvik/util/string_manipulate.h"

namespace Orvik {

class COrvikComponentFactory
    : public TComponentImpl<IOrvikComponentFactory, COrvikComponentFactory, kFactoryComponentId, 1, 1>,
      public FileOperator<COrvikComponentFactory>,
      public StringManipulate<COrvikComponentFactory> {
public:
    COrvikComponentFactory();
    ~COrvikComponentFactory() override;

    // Reads the registry without the state lock, on purpose: see there.
    IComponent* CreateComponentByID(ComponentId id, const char* configPath) ORVIK_NO_THREAD_SAFETY_ANALYSIS override;
    void QueryLogSetting(const char* configPath, ComponentId id, uint32_t* debugOutputMask, uint32_t* logFileMask,
                         LogFileInfo** info) override;
    void AddRegisteredInstance(IComponent* instance) override;
    void ReleaseRegisteredInstances() override;
    int32_t TryUnloadModule(Platform::ModuleHandle module) override;
    void NotifyModuleIdle(Platform::ModuleHandle module) override;
    void SetRootPath(const char* path) override;
    int32_t CopyRootPath(char* buffer) override;
    void RegisterInstance(ComponentId id, IComponent* instance) override;
    // Reads the set of listed instances without the state lock, on purpose.
    int32_t IsRegisteredInstance(IComponent* instance) ORVIK_NO_THREAD_SAFETY_ANALYSIS override;
    void RetryFailedModules(const char* configPath) override;
    Platform::FileHandle StartNewLogFile() override;
    void Uninitialize() override;

    // Copies the factory's state for the inspection; false when memory ran
    // out.
    bool TakeSnapshot(FactorySnapshot* snapshot);

    // Relative paths are completed with the host directory (asked for by
    // the path helpers).
    const char* GetBaseDirectory() const { return GetHostDirectory(); }

private:
    // Module handles in the order of their numeric value.
    struct HandleOrder {
        bool operator()(Platform::ModuleHandle a, Platform::ModuleHandle b) const
        {
            return reinterpret_cast<uintptr_t>(a) < reinterpret_cast<uintptr_t>(b);
        }
    };

    // The file actually read for a configuration path, following the
    // "Redirect"/"Path" entries. Each file on the way is read once, into
    // reader, the catalog that LoadConfigFile then loads from the result.
    void ResolveConfigPath(const char* path, char* buffer, int size, CComponentClassInfoList& reader);
    // One pass over the modules waiting to be unloaded.
    void UnloadPendingModules();
    static void UnloadTimerProc(void* window, uint32_t message, Platform::TimerId id, uint32_t time);
    // Appends instance to the registered-instance list unless it is listed.
    void ListInstance(IComponent* instance) ORVIK_REQUIRES(stateLock_);
    // A request that no registered instance answers (which may register
    // one meanwhile). Out of line, so that a registered instance's request
    // pays for none of it. Asks the default catalog's ready modules without
    // the state lock, on purpose: see there.
    [[gnu::noinline]] IComponent* CreateUnregistered(ComponentId id, const char* configPath)
        ORVIK_NO_THREAD_SAFETY_ANALYSIS;
    // The same under the state lock, through the catalog of configPath.
    IComponent* CreateThroughCatalog(ComponentId id, const char* configPath);
    // Tells the trace that a registered instance answered; out of line,
    // so that an untraced answer saves and restores nothing.
    [[gnu::noinline]] static IComponent* TracedAsRegistered(IComponent* registered, ComponentId id,
                                                           const char* configPath);
    // Every catalog of a configuration path, in the paths' order, then the
    // default catalog.
    void ForEachCatalog(const std::function<void(CComponentClassInfoList&)>& visit) ORVIK_REQUIRES(stateLock_);

    using Catalog = std::shared_ptr<CComponentClassInfoList>;
    using StateGuard = Platform::ScopedLock<Platform::RecursiveMutex>;

    // Fields, in the order of construction. stateLock_ guards every other
    // field but the log files, which guard themselves, and the readers of
    // registeredInstances_ and listedInstances_, which need no lock; it is
    // held around
    // every call of a catalog. Requests look the registry up twice each (by
    // id, and whether to release), in constant time.
    Platform::RecursiveMutex stateLock_ ORVIK_ACQUIRED_AFTER(factoryLock_);
    TOpenHashMap<ComponentId, IComponent> registeredInstances_ ORVIK_GUARDED_BY(stateLock_);
    // Null where ReleaseRegisteredInstances released the instance: it stays
    // listed, and is never used again.
    std::vector<IComponent*> registeredList_ ORVIK_GUARDED_BY(stateLock_);
    // Every instance ever listed; written under stateLock_ only.
    TGrowOnlySet<IComponent> listedInstances_ ORVIK_GUARDED_BY(stateLock_);
    Platform::CriticalSection factoryLock_;
    char rootPath_[Platform::kMaxPath] ORVIK_GUARDED_BY(stateLock_);
    CLogFiles logFiles_;
    // Before the default catalog, so the trace hears that catalog's end.
    CFactoryInspection inspection_{*this};
    CComponentClassInfoList defaultCatalog_ ORVIK_GUARDED_BY(stateLock_);
    // Looked up by the caller's text as it is, without making a string. A
    // request holds its catalog while it runs, so a shutdown meanwhile
    // destroys the catalog only when the request is done with it.
    std::map<std::string, Catalog, std::less<>> catalogs_ ORVIK_GUARDED_BY(stateLock_);
    // Ordered by HandleOrder, each once: a sorted vector keeps its room
    // between idle notices, where a set would allocate for each.
    std::vector<Platform::ModuleHandle> pendingModules_ ORVIK_GUARDED_BY(stateLock_);
    Platform::TimerId timerId_ ORVIK_GUARDED_BY(stateLock_) = 0;
};

// True from the factory's construction to the start of its Uninitialize.
bool IsFactoryAlive();
void SetFactoryAlive(bool alive);

}  // namespace Orvik
