// Creating components through the id's section, a scanned module or the
// default module; freeing and forgetting modules; log settings.

#include <algorithm>
#include <cstdarg>
#include <utility>

#include "catalog/component_class_info_list.h"
#include "catalog/trace_gate.h"
#include "orvik/module/debug_line.h"
#include "orvik/module/module_exports.h"
#include "orvik/module/module_runtime.h"
#include "platform/multibyte.h"
#include "platform/mutex.h"

namespace Orvik {

namespace {

// Tells a provider which configuration it serves and where the factory is;
// a module without these exports is simply not told.
void IntroduceCatalog(Platform::ModuleHandle module, const char* registryPath)
{
    if (auto setRegistry = FindModuleExport<Exports::SetDLLRegistry>(module)) {
        setRegistry(registryPath);
    }
    if (auto setFactory = FindModuleExport<Exports::SetFactoryHandle>(module)) {
        setFactory(ThisModuleHandle());
    }
}

// A section's module asked without the owner's lock: told as under it, and
// its CreateComponent found.
Exports::CreateComponent::Function IntroduceAndFindCreator(Platform::ModuleHandle module, const char* registryPath)
{
    IntroduceCatalog(module, registryPath);
    return FindModuleExport<Exports::CreateComponent>(module);
}

}  // namespace

void CComponentClassInfoList::SetOwnerLock(Platform::RecursiveMutex* lock) { ownerLock_ = lock; }

bool CComponentClassInfoList::PrepareUnload(Platform::ModuleHandle module)
{
    ready_.WithdrawModule(module);
    return !ready_.CreatingThrough(module) && std::find(creating_.begin(), creating_.end(), module) == creating_.end();
}

bool CComponentClassInfoList::CreateFromReadyModule(ComponentId componentId, IComponent** component)
{
    if (!ready_.TryCreate(componentId, component, IntroduceAndFindCreator)) return false;
    if (*component == nullptr) {
        OutputDebugLine("[Orvik_Error] CreateComponent(ComponentId=%u) return null.\n", componentId);
    }
    return true;
}

IComponent* CComponentClassInfoList::CallCreateComponent(Exports::CreateComponent::Function createComponent,
                                                         Platform::ModuleHandle module, ComponentId componentId)
{
    // The creator runs without the owner's lock (it may ask for further
    // components, or register a shared instance, from any thread), and the
    // module is marked meanwhile so that nobody frees it under the call.
    creating_.push_back(module);
    IComponent* component = nullptr;
    {
        OwnerLockHeld();
        const Platform::ScopedUnlock<Platform::RecursiveMutex> unlocked(ownerLock_);
        // The catalog asks on the factory's behalf, so the factory is the
        // creator. A module built otherwise may let an exception out of its
        // export: it counts as a null result.
        try {
            component = createComponent(static_cast<int32_t>(componentId), kFactoryComponentId);
        } catch (...) {
        }
    }
    *std::find(creating_.begin(), creating_.end(), module) = creating_.back();
    creating_.pop_back();
    if (component == nullptr) {
        OutputDebugLine("[Orvik_Error] CreateComponent(ComponentId=%u) return null.\n", componentId);
    }
    return component;
}

IComponent* CComponentClassInfoList::CreateComponentFromDll(ComponentId componentId)
{
    if (componentId != kFactoryComponentId && hasDllList != 0 && dllListScanned == 0) {
        ScanDllList();
        dllListScanned = 1;
    }
    if (ComponentClassInfo* record = FindConfigRecord(componentId)) {
        if (Trace::Active()) TraceRoute(CreationRoute::Section, componentId);
        return CreateFromConfigDll(LoadConfigDll(*record), componentId);
    }
    if (hasDllList != 0) {
        if (Trace::Active()) TraceRoute(CreationRoute::ScannedModule, componentId);
        return CreateFromDllList(componentId);
    }
    if (defaultDllModule != Platform::InvalidModule()) {
        // Without a path the default module is nothing to load.
        if (Trace::Active()) {
            TraceRoute(defaultDllPath[0] != '\0' ? CreationRoute::DefaultModule : CreationRoute::Nothing, componentId);
        }
        return CreateFromDefaultDll(componentId);
    }
    if (Trace::Active()) TraceRoute(CreationRoute::Nothing, componentId);
    return nullptr;
}

ComponentClassInfo* CComponentClassInfoList::FindConfigRecord(ComponentId componentId)
{
    const auto found = configRecords.find(componentId);
    return found != configRecords.end() ? &found->second : nullptr;
}

const char* CComponentClassInfoList::DllOf(const ComponentClassInfo& record) const
{
    return record.dll != 0 ? text.get() + record.dll : "";
}

SectionModule& CComponentClassInfoList::LoadConfigDll(ComponentClassInfo& record)
{
    if (record.pathResolved == 0) ResolveConfigDllPath(record);
    SectionModule& section = sectionModules_[record.pathResolved - 1];
    if (section.module != nullptr) return section;
    section.module = Platform::LoadModule(section.fullPath.c_str());
    if (Trace::Active()) {
        const uint32_t kind = section.module == nullptr ? kOrvikTraceLoadFailed
                              : section.loadedBefore     ? kOrvikTraceReload
                                                         : kOrvikTraceLoad;
        Trace::Module(kind, section.module, registryPath, section.fullPath.c_str(),
                      section.module == nullptr ? Platform::GetLastErrorCode() : 0);
    }
    section.loadedBefore = section.loadedBefore || section.module != nullptr;
    if (section.module == nullptr) {
        OutputDebugLine("[Orvik_Error] LoadLibrary Fail(%s). ErrorCode(%d)\n", section.fullPath.c_str(),
                        static_cast<int>(Platform::GetLastErrorCode()));
    }
    return section;
}

void CComponentClassInfoList::ResolveConfigDllPath(ComponentClassInfo& record)
{
    sectionModules_.push_back(SectionModule{nullptr, ConfigDllPath(record)});
    record.pathResolved = static_cast<uint32_t>(sectionModules_.size());
}

std::string CComponentClassInfoList::ConfigDllPath(const ComponentClassInfo& record) const
{
    const char* const dll = DllOf(record);
    char path[Platform::kMaxPath] = {};
    if (!IsRelativePath(dll)) {
        CopyString(path, sizeof path, dll);
    } else if (record.notUseDefaultDllPath != 0) {
        JoinToProfileDirectory(configFilePath, dll, path, sizeof path);
    } else {
        JoinPath(dllPath, dll, path, sizeof path);
    }
    return path;
}

IComponent* CComponentClassInfoList::CreateFromConfigDll(SectionModule& section, ComponentId componentId)
{
    if (section.module == nullptr) return nullptr;
    if (auto createComponent = IntroduceAndFindCreator(section.module, registryPath)) {
        ready_.PublishSection(componentId, section.module, registryPath);
        return CallCreateComponent(createComponent, section.module, componentId);
    }
    OutputDebugLine("[Orvik_Error] Can't find CreateComponent().\n");
    OutputDebugLine("[Orvik_Error] DLL:%s\n", section.fullPath.c_str());
    return nullptr;
}

IComponent* CComponentClassInfoList::CreateFromDllList(ComponentId componentId)
{
    const auto found = dllListRecords.find(componentId);
    if (found == dllListRecords.end()) {
        OutputDebugLine("[Orvik_Error] Can't find Component(%d) Creator From Dll List!\n",
                        static_cast<int>(componentId));
        return nullptr;
    }
    DllListClassInfo& record = found->second;
    if (record.createComponent == nullptr) InitOrvikModule(record);
    if (record.createComponent != nullptr) {
        ready_.Publish(componentId, record.module, record.createComponent);
        return CallCreateComponent(record.createComponent, record.module, componentId);
    }
    OutputDebugLine("[Orvik_Error] InitOrvikModule Fail.\n");
    return nullptr;
}

void CComponentClassInfoList::ListScannedModule(Platform::UniqueModule reference)
{
    // A module loaded again while it is the last one listed, as one that
    // falls idle between requests is, takes no new entry (nor memory).
    if (!dllListModules.empty() && dllListModules.back().reference.get() == reference.get()) {
        ++dllListModules.back().moreReferences;
        reference.release();
        return;
    }
    dllListModules.push_back(ListedModule{std::move(reference), 0});
}

void CComponentClassInfoList::InitOrvikModule(DllListClassInfo& record)
{
    uint32_t loadError = Platform::kErrorSuccess;
    if (record.module == nullptr) {
        // The module was forgotten: load it again by its listed name.
        char path[Platform::kMaxPath] = {};
        JoinPath(dllPath, record.dllName, path, sizeof path);
        Platform::UniqueModule reference(Platform::LoadModule(path));
        const Platform::ModuleHandle module = reference.get();
        if (module == nullptr) loadError = Platform::GetLastErrorCode();
        if (Trace::Active()) {
            Trace::Module(module != nullptr ? kOrvikTraceReload : kOrvikTraceLoadFailed, module, registryPath, path,
                          module != nullptr ? 0 : loadError);
        }
        if (module != nullptr) {
            ListScannedModule(std::move(reference));
            // The records of one file were all forgotten together: only
            // forgotten ones need their names compared.
            for (auto& entry : dllListRecords) {
                DllListClassInfo& other = entry.second;
                if (other.module == nullptr && Platform::CompareText(other.dllName, record.dllName) == 0) {
                    other.module = module;
                }
            }
        }
    }
    if (record.module == nullptr) {
        OutputDebugLine("[Orvik_Error] LoadLibrary(%s) Fail. ErrorCode(%d)\n", record.dllName,
                        static_cast<int>(loadError));
        return;
    }
    IntroduceCatalog(record.module, registryPath);
    // A module without CreateComponent is not remembered as such: it is asked
    // again at the next request, and each failing request says so.
    record.createComponent = FindModuleExport<Exports::CreateComponent>(record.module);
}

IComponent* CComponentClassInfoList::CreateFromDefaultDll(ComponentId componentId)
{
    if (defaultDllModule == nullptr) {
        const Platform::ModuleHandle module =
            defaultDllPath[0] != '\0' ? Platform::LoadModule(defaultDllPath) : nullptr;
        defaultDllModule = module != nullptr ? module : Platform::InvalidModule();
        if (defaultDllPath[0] != '\0' && Trace::Active()) {
            Trace::Module(module != nullptr ? kOrvikTraceLoad : kOrvikTraceLoadFailed, module, registryPath,
                          defaultDllPath, module != nullptr ? 0 : Platform::GetLastErrorCode());
        }
    }
    if (defaultDllModule == Platform::InvalidModule()) {
        OutputDebugLine("[Orvik_Error] LoadLibrary(%s) Fail. ErrorCode(%d)\n", defaultDllPath,
                        static_cast<int>(Platform::GetLastErrorCode()));
        return nullptr;
    }
    IntroduceCatalog(defaultDllModule, registryPath);
    if (auto createComponent = FindModuleExport<Exports::CreateComponent>(defaultDllModule)) {
        return CallCreateComponent(createComponent, defaultDllModule, componentId);
    }
    OutputDebugLine("[Orvik_Error] Can't find CreateComponent() in Default Component DLL.\n");
    return nullptr;
}

void CComponentClassInfoList::FreeModule(Platform::ModuleHandle module)
{
    // In the records a null handle means "not loaded", never a module.
    if (module == nullptr) return;
    ready_.WithdrawModule(module);
    bool released = false;
    if (hasDllList != 0) {
        // Every reference the scan and the reloads took: a module loaded
        // again before it was unloaded holds several.
        for (auto listed = dllListModules.begin(); listed != dllListModules.end();) {
            if (listed->reference.get() != module) {
                ++listed;
                continue;
            }
            for (; listed->moreReferences > 0; --listed->moreReferences) Platform::ReleaseModule(module);
            listed = dllListModules.erase(listed);
            released = true;
        }
    }
    for (SectionModule& section : sectionModules_) {
        if (section.module != module) continue;
        // Sections hold plain handles: the catalog drops a section's
        // reference itself, by adopting it into an owner here.
        Platform::UniqueModule(std::exchange(section.module, nullptr)).reset();
        released = true;
    }
    // The module may have left memory with that reference, also when nobody
    // made the catalog forget it first: its cached entry points must go.
    if (released) ClearModuleRecords(module);
}

void CComponentClassInfoList::ClearModuleRecords(Platform::ModuleHandle module)
{
    ready_.WithdrawModule(module);
    for (auto& entry : dllListRecords) {
        if (entry.second.module != module) continue;
        entry.second.module = nullptr;
        entry.second.createComponent = nullptr;
    }
}

void CComponentClassInfoList::GetLogSetting(ComponentId componentId, uint32_t* debugOutputMask,
                                            uint32_t* logFileMask)
{
    const ComponentClassInfo* record = FindConfigRecord(componentId);
    const bool own = record != nullptr && record->hasLogSetting != 0;
    *debugOutputMask = own ? record->debugOutputMask : defaultDebugOutputMask;
    *logFileMask = own ? record->logFileMask : defaultLogFileMask;
}

void CComponentClassInfoList::GetLogFileLimits(uint32_t* fileCount, uint32_t* fileSize)
{
    *fileCount = static_cast<uint32_t>(maxFileCount);
    *fileSize = maxFileSize;
}

void CComponentClassInfoList::OutputDebugLine(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    OutputDebugLineV(format, arguments);
    va_end(arguments);
}

}  // namespace Orvik
