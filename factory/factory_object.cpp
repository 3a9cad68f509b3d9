#include "factory/component_factory.h"

#include <atomic>
#include <exception>

#include "bootstrap/profile_resolution.h"
#include "catalog/trace_gate.h"
#include "log/log_settings.h"
#include "orvik/platform/branch_hints.h"
#include "orvik/module/component_impl.h"
#include "platform/multibyte.h"

namespace Orvik {

namespace {

std::atomic<bool> g_factoryAlive{false};

TComponentRegistrar<COrvikComponentFactory> g_factoryRegistrar;

// A factory made without the host directory would know neither its
// configuration nor where its log files go: it is not made, and the next
// request for it tries again.
struct HostDirectoryUnknown : std::exception {};

}  // namespace

bool IsFactoryAlive() { return g_factoryAlive; }

void SetFactoryAlive(bool alive) { g_factoryAlive = alive; }

COrvikComponentFactory::COrvikComponentFactory() : rootPath_{}, logFiles_(&factoryLock_, rootPath_)
{
    if (GetHostDirectory()[0] == '\0') throw HostDirectoryUnknown();
    g_factoryAlive = true;
    const StateGuard guard(stateLock_);
    CopyString(rootPath_, sizeof rootPath_, GetHostDirectory());
    Platform::InitializeLock(&factoryLock_);
    defaultCatalog_.SetOwnerLock(&stateLock_);
    // The inspection answers its id as a shared instance would, but is not
    // listed: nothing releases it, and it goes with the factory.
    registeredInstances_.Set(kInspectionComponentId, &inspection_);

    char start[Platform::kMaxPath] = {};
    char resolved[Platform::kMaxPath] = {};
    JoinToBaseDirectory("Orvik.ini", start, sizeof start);
    ResolveConfigPath(start, resolved, sizeof resolved, defaultCatalog_);
    defaultCatalog_.LoadConfigFile("", resolved);
}

// The factory's operations are called from other modules: those that can
// meet an exception (an allocation, another module's code) keep it in.
IComponent* COrvikComponentFactory::CreateComponentByID(ComponentId id, const char* configPath)
{
    // Registered instances answer without the state lock: the registry is
    // read without one, and nothing here can throw.
    if (IComponent* registered = registeredInstances_.Find(id)) {
        if (ORVIK_LIKELY(!Trace::Active())) return registered;
        return TracedAsRegistered(registered, id, configPath);
    }
    return CreateUnregistered(id, configPath);
}

IComponent* COrvikComponentFactory::TracedAsRegistered(IComponent* registered, ComponentId id, const char* configPath)
{
    Trace::Route(kOrvikRouteRegistered, id, configPath);
    return registered;
}

IComponent* COrvikComponentFactory::CreateUnregistered(ComponentId id, const char* configPath)
{
    // A scanned module of the default catalog that is loaded and was asked
    // before answers without the state lock too; a traced request goes the
    // locked way, where the trace hears its route.
    IComponent* ready = nullptr;
    if ((configPath == nullptr || configPath[0] == '\0') && !Trace::Active() &&
        defaultCatalog_.CreateFromReadyModule(id, &ready)) {
        return ready;
    }
    return CreateThroughCatalog(id, configPath);
}

IComponent* COrvikComponentFactory::CreateThroughCatalog(ComponentId id, const char* configPath)
try {
    const StateGuard guard(stateLock_);
    if (IComponent* registered = registeredInstances_.Find(id)) {
        return Trace::Active() ? TracedAsRegistered(registered, id, configPath) : registered;
    }
    if (configPath == nullptr || configPath[0] == '\0') return defaultCatalog_.CreateComponentFromDll(id);

    auto known = catalogs_.find(configPath);
    if (known != catalogs_.end()) {
        const Catalog catalog = known->second;
        return catalog->CreateComponentFromDll(id);
    }

    // A relative path is the host directory's: while that cannot be read,
    // the catalog is not made, rather than made empty for good.
    if (IsRelativePath(configPath) && GetHostDirectory()[0] == '\0') return nullptr;
    Catalog catalog(new (std::nothrow) CComponentClassInfoList);
    if (!catalog) return nullptr;
    catalog->SetOwnerLock(&stateLock_);
    char resolved[Platform::kMaxPath] = {};
    ResolveConfigPath(configPath, resolved, sizeof resolved, *catalog);
    catalog->LoadConfigFile(configPath, resolved);
    catalogs_.emplace(configPath, catalog);
    return catalog->CreateComponentFromDll(id);
} catch (...) {
    return nullptr;
}

void COrvikComponentFactory::ResolveConfigPath(const char* path, char* buffer, int size,
                                               CComponentClassInfoList& reader)
{
    char profile[Platform::kMaxPath] = {};
    if (IsRelativePath(path)) {
        JoinToBaseDirectory(path, profile, sizeof profile);
    } else {
        CopyString(profile, sizeof profile, path);
    }
    // Each file on the way is read into reader, which keeps the last one for
    // the parse. Unlike the bootstrap's, the factory's blank rule keeps tabs
    // as text.
    struct CatalogReader : RedirectReader {
        explicit CatalogReader(CComponentClassInfoList& catalog) : catalog(catalog) {}
        void ReadRedirect(const char* file, char* value, int valueSize) override
        {
            catalog.ReadRedirectPath(file, value, valueSize);
        }
        CComponentClassInfoList& catalog;
    } catalogReader(reader);
    FollowRedirects(profile, &IsBlankString, nullptr, &catalogReader);
    CopyString(buffer, size, profile);
}

void COrvikComponentFactory::QueryLogSetting(const char* configPath, ComponentId id, uint32_t* debugOutputMask,
                                             uint32_t* logFileMask, LogFileInfo** info)
try {
    const StateGuard guard(stateLock_);
    CComponentClassInfoList* catalog = &defaultCatalog_;
    if (configPath != nullptr && configPath[0] != '\0') {
        // No catalog is made here: an unknown path leaves the caller's masks.
        auto known = catalogs_.find(configPath);
        catalog = known != catalogs_.end() ? known->second.get() : nullptr;
    }
    // After shutdown began the record's lock is gone: no record is handed out.
    Orvik::QueryLogSetting(catalog, defaultCatalog_, id, debugOutputMask, logFileMask, info, logFiles_,
                           IsFactoryAlive());
} catch (...) {
    *info = nullptr;
}

Platform::FileHandle COrvikComponentFactory::StartNewLogFile()
try {
    const StateGuard guard(stateLock_);
    return logFiles_.StartNewLogFile();
} catch (...) {
    return Platform::InvalidFileHandle();
}

void COrvikComponentFactory::SetRootPath(const char* path)
{
    const StateGuard guard(stateLock_);
    // A path too long for the field leaves the root path as it was.
    if (path != nullptr && path[0] != '\0') CopyString(rootPath_, sizeof rootPath_, path);
}

int32_t COrvikComponentFactory::CopyRootPath(char* buffer)
{
    if (buffer == nullptr) return 0;
    const StateGuard guard(stateLock_);
    Platform::CopyBytesBounded(buffer, rootPath_, sizeof rootPath_);
    return 1;
}

void COrvikComponentFactory::RetryFailedModules(const char* configPath)
{
    // After shutdown began the lock is gone: late calls do nothing.
    if (!g_factoryAlive || (configPath != nullptr && configPath[0] != '\0')) return;
    const Platform::LockGuard guard(factoryLock_);
    const StateGuard state(stateLock_);
    try {
        defaultCatalog_.RescanFailedDlls();
    } catch (...) {
    }
}

void COrvikComponentFactory::ForEachCatalog(const std::function<void(CComponentClassInfoList&)>& visit)
{
    for (auto& entry : catalogs_) {
        if (entry.second) visit(*entry.second);
    }
    visit(defaultCatalog_);
}

}  // namespace Orvik
