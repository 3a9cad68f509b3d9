#include "factory/component_factory.h"

#include <atomic>
#include <set>
#include <string>

#include "module/component_impl.h"
#include "platform/multibyte.h"
#include "platform/profile.h"

namespace Orvik {

namespace {

std::atomic<bool> g_factoryAlive{false};

TComponentRegistrar<COrvikComponentFactory> g_factoryRegistrar;

}  // namespace

bool IsFactoryAlive() { return g_factoryAlive; }

void SetFactoryAlive(bool alive) { g_factoryAlive = alive; }

COrvikComponentFactory::COrvikComponentFactory() : rootPath_{}
{
    g_factoryAlive = true;
    logFileInfo_.lock = &factoryLock_;
    logFileInfo_.file = Platform::InvalidFileHandle();
    // Until a log-setting query copies the configured limits, shutdown keeps
    // every log file.
    logFileInfo_.maxFileCount = ~uint32_t{0};
    logFileInfo_.maxFileSize = ~uint32_t{0};
    CopyString(rootPath_, sizeof rootPath_, GetHostDirectory());
    Platform::InitializeLock(&factoryLock_);

    char start[Platform::kMaxPath] = {};
    char resolved[Platform::kMaxPath] = {};
    JoinToBaseDirectory("Orvik.ini", start, sizeof start);
    ResolveConfigPath(start, resolved, sizeof resolved);
    defaultCatalog_.LoadConfigFile("", resolved);
}

IComponent* COrvikComponentFactory::CreateComponentByID(ComponentId id, const char* configPath)
{
    auto registered = registeredInstances_.find(id);
    if (registered != registeredInstances_.end()) return registered->second;
    if (configPath == nullptr || configPath[0] == '\0') return defaultCatalog_.CreateComponentFromDll(id);

    auto known = catalogs_.find(configPath);
    if (known != catalogs_.end()) return known->second->CreateComponentFromDll(id);

    std::unique_ptr<CComponentClassInfoList> catalog(new (std::nothrow) CComponentClassInfoList);
    if (!catalog) return nullptr;
    char resolved[Platform::kMaxPath] = {};
    ResolveConfigPath(configPath, resolved, sizeof resolved);
    catalog->LoadConfigFile(configPath, resolved);
    CComponentClassInfoList& inserted = *catalogs_.emplace(configPath, std::move(catalog)).first->second;
    return inserted.CreateComponentFromDll(id);
}

void COrvikComponentFactory::ResolveConfigPath(const char* path, char* buffer, int size)
{
    // The files read so far, as spelled: a chain of absolute redirects that
    // comes back to one of them stops there. (Ignoring case could stop early
    // where the file system tells a.ini from A.ini.)
    std::set<std::string> visited;
    std::string next = path != nullptr ? path : std::string();
    bool nullPath = path == nullptr;
    char start[Platform::kMaxPath];
    char redirect[Platform::kMaxPath];
    for (;;) {
        const char* current = nullPath ? nullptr : next.c_str();
        start[0] = '\0';
        if (IsRelativePath(current)) {
            JoinToBaseDirectory(current, start, sizeof start);
        } else {
            CopyString(start, sizeof start, current);
        }
        redirect[0] = '\0';
        Platform::ReadProfileValue("Redirect", "Path", nullptr, redirect, sizeof redirect, start);
        visited.insert(start);

        if (IsBlankString(redirect)) {
            CopyString(buffer, size, start);
            return;
        }
        if (IsRelativePath(redirect)) {
            // A relative redirect ends the chain.
            JoinToProfileDirectory(start, redirect, buffer, size);
            return;
        }
        if (visited.count(redirect) != 0) {
            // A cycle of absolute redirects: the file reached last is read.
            CopyString(buffer, size, start);
            return;
        }
        next = redirect;
        nullPath = false;
    }
}

void COrvikComponentFactory::SetRootPath(const char* path)
{
    // A path too long for the field leaves the root path as it was.
    if (path != nullptr && path[0] != '\0') CopyString(rootPath_, sizeof rootPath_, path);
}

int32_t COrvikComponentFactory::CopyRootPath(char* buffer)
{
    if (buffer == nullptr) return 0;
    Platform::CopyBytesBounded(buffer, rootPath_, sizeof rootPath_);
    return 1;
}

void COrvikComponentFactory::RetryFailedModules(const char* configPath)
{
    // After shutdown began the lock is gone: late calls do nothing.
    if (!g_factoryAlive || (configPath != nullptr && configPath[0] != '\0')) return;
    Platform::EnterLock(&factoryLock_);
    defaultCatalog_.RescanFailedDlls();
    Platform::LeaveLock(&factoryLock_);
}

void COrvikComponentFactory::ForEachCatalog(const std::function<void(CComponentClassInfoList&)>& visit)
{
    for (auto& entry : catalogs_) {
        if (entry.second) visit(*entry.second);
    }
    visit(defaultCatalog_);
}

}  // namespace Orvik
