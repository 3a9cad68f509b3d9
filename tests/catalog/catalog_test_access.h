#pragma once
// The one way tests look inside a catalog: its records and settings, and the
// steps the factory never calls alone (the scan, a record's path).
//
//   EXPECT_STREQ("a.dll", Inspect(catalog).dllList);

#include <list>

#include "catalog/component_class_info_list.h"

namespace Orvik {

class CatalogTestAccess {
public:
    explicit CatalogTestAccess(const CComponentClassInfoList& catalog)
        : catalog_(const_cast<CComponentClassInfoList&>(catalog)),
          configFilePath(catalog_.configFilePath),
          registryPath(catalog_.registryPath),
          configRecords(catalog_.configRecords),
          dllListRecords(catalog_.dllListRecords),
          dllListModules(Handles(catalog_.dllListModules)),
          dllListScanned(catalog_.dllListScanned),
          dllList(catalog_.dllList),
          failedDlls(catalog_.failedDlls),
          hasDllList(catalog_.hasDllList),
          preloadedModules(Handles(catalog_.preloadedModules)),
          defaultDebugOutputMask(catalog_.defaultDebugOutputMask),
          defaultLogFileMask(catalog_.defaultLogFileMask),
          maxFileCount(catalog_.maxFileCount),
          maxFileSize(catalog_.maxFileSize),
          dllPath(catalog_.dllPath),
          defaultDllPath(catalog_.defaultDllPath),
          defaultDllModule(catalog_.defaultDllModule)
    {
    }

    void ScanDllList() { catalog_.ScanDllList(); }
    void ResolveConfigDllPath(ComponentClassInfo& record) { catalog_.ResolveConfigDllPath(record); }
    const char* Dll(const ComponentClassInfo& record) const { return catalog_.DllOf(record); }
    // What requests added to the id's record; null until its path was resolved.
    const SectionModule* Section(ComponentId id) const
    {
        const uint32_t slot = catalog_.configRecords.at(id).pathResolved;
        return slot != 0 ? &catalog_.sectionModules_.at(slot - 1) : nullptr;
    }

private:
    // One handle per reference, in load order.
    static std::list<Platform::ModuleHandle> Handles(const std::list<ListedModule>& listed)
    {
        std::list<Platform::ModuleHandle> handles;
        for (const ListedModule& entry : listed) {
            handles.insert(handles.end(), 1 + entry.moreReferences, entry.reference.get());
        }
        return handles;
    }
    static std::list<Platform::ModuleHandle> Handles(const std::list<Platform::UniqueModule>& owners)
    {
        std::list<Platform::ModuleHandle> handles;
        for (const Platform::UniqueModule& owner : owners) handles.push_back(owner.get());
        return handles;
    }

    CComponentClassInfoList& catalog_;

public:
    const char* const configFilePath;
    const char* const registryPath;
    TSortedRecords<ComponentClassInfo>& configRecords;
    std::map<ComponentId, DllListClassInfo>& dllListRecords;
    // The handles held when the accessor was made.
    const std::list<Platform::ModuleHandle> dllListModules;
    const int32_t& dllListScanned;
    const char* const dllList;
    const char* const failedDlls;
    const int32_t& hasDllList;
    const std::list<Platform::ModuleHandle> preloadedModules;
    const uint32_t& defaultDebugOutputMask;
    const uint32_t& defaultLogFileMask;
    const int32_t& maxFileCount;
    const uint32_t& maxFileSize;
    const char* const dllPath;
    const char* const defaultDllPath;
    const Platform::ModuleHandle& defaultDllModule;
};

inline CatalogTestAccess Inspect(const CComponentClassInfoList& catalog) { return CatalogTestAccess(catalog); }

}  // namespace Orvik
