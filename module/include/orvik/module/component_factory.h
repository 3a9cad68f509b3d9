#pragma once
/// \file
/// The factory's interface. Separately built modules call the factory through
/// this fixed operation order; never reorder or insert.

#include "orvik/module/component.h"
#include "orvik/module/log_file_info.h"
#include "orvik/platform/file_system.h"
#include "orvik/platform/module_loader.h"

namespace Orvik {

/// The factory: one per process, component 361 of the factory module
/// (OrvFact.dll). Code obtains it like any component, e.g. with
/// TOrvikPtr<IOrvikComponentFactory, 1>; it ignores Release(0).
class IOrvikComponentFactory : public IComponent {
public:
    /// The factory's id, 361.
    static constexpr ComponentId kComponentId = kFactoryComponentId;

    /// A registered shared instance, else a component made by the catalog of
    /// configPath (null or empty: the default catalog); null when none.
    /// A relative configPath starts from the host's directory; each distinct
    /// spelling gets a catalog of its own, kept until shutdown.
    virtual IComponent* CreateComponentByID(ComponentId id, const char* configPath) = 0;
    /// The two log masks of component id (LOG_E ...) as the catalog of
    /// configPath (null or empty: the default catalog) gives them; a path no
    /// request has named yet leaves both as the caller set them. When the
    /// log-file mask is not 0, *info becomes the factory's log-file record,
    /// with a log file opened unless one is, and the limits of the default
    /// configuration; else, and once shutdown has begun, null.
    virtual void QueryLogSetting(const char* configPath, ComponentId id, uint32_t* debugOutputMask,
                                 uint32_t* logFileMask, LogFileInfo** info) = 0;
    /// Lists instance with the shared instances, which smart pointers leave
    /// alive and ReleaseRegisteredInstances ends, without handing it out for
    /// any id. Null and the factory itself are ignored.
    virtual void AddRegisteredInstance(IComponent* instance) = 0;
    /// Ends every listed shared instance with Release(1), the last listed
    /// first. They stay listed, so smart pointers still leave them alone,
    /// but are never handed out or released again. A host calls it at
    /// shutdown, before ending the factory.
    virtual void ReleaseRegisteredInstances() = 0;
    /// Frees the module from every catalog when its OrvikDllCanUnloadNow
    /// agrees and no creation through it is under way: 1, else 0.
    virtual int32_t TryUnloadModule(Platform::ModuleHandle module) = 0;
    /// The module's last live component is gone: the catalogs forget its
    /// entry points and the module waits for the unload timer, which ticks
    /// every 100 ms and which the calling thread starts unless it runs. The
    /// timer's thread must dispatch its messages
    /// (Platform::DispatchMessagesFor or a message loop).
    virtual void NotifyModuleIdle(Platform::ModuleHandle module) = 0;
    /// Log files go below path\\OrvikLog\\ from now on. Null, empty or a path
    /// too long for 260 bytes changes nothing.
    virtual void SetRootPath(const char* path) = 0;
    /// Copies the root path (at first the host's directory) into buffer,
    /// which holds 260 bytes: 1, or 0 for a null buffer.
    virtual int32_t CopyRootPath(char* buffer) = 0;
    /// Makes instance the shared instance of id, handed to every request for
    /// id whichever configuration it names, and lists it as
    /// AddRegisteredInstance does. Null and the factory itself are ignored.
    virtual void RegisterInstance(ComponentId id, IComponent* instance) = 0;
    /// 1 when instance is listed as a shared instance (also once released),
    /// else 0.
    virtual int32_t IsRegisteredInstance(IComponent* instance) = 0;
    /// With a null or empty configPath, scans again the modules of the
    /// default configuration's "dlls" that failed to load; any other path
    /// does nothing.
    virtual void RetryFailedModules(const char* configPath) = 0;
    /// Closes the log file and opens a new one, named after the local time.
    /// Returns the record's file afterwards: the new one, invalid when it
    /// could not be opened, or 0 when its name did not fit.
    virtual Platform::FileHandle StartNewLogFile() = 0;

protected:
    /// Never deleted by its users.
    ~IOrvikComponentFactory() = default;
};

}  // namespace Orvik
