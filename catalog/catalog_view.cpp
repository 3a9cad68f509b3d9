// What tools see of a catalog: a copy of its settings and records, the
// observer that hears about its file and scan, and the scan on its own.

#include "catalog/component_class_info_list.h"

namespace Orvik {

void CComponentClassInfoList::SetObserver(CatalogObserver* watching) { observer = watching; }

CatalogView CComponentClassInfoList::View()
{
    CatalogView view{configFilePath,          registryPath,       dllPath,      defaultDllPath,
                     dllList,                 hasDllList != 0,    defaultDebugOutputMask,
                     defaultLogFileMask,      maxFileCount,       maxFileSize,  {},
                     {}};
    for (const auto& entry : configRecords) {
        const ComponentClassInfo& record = entry.second;
        // By the same rule a request uses, without resolving the record.
        view.records.push_back({entry.first, DllOf(record), record.notUseDefaultDllPath != 0, ConfigDllPath(record),
                                record.hasLogSetting != 0, record.debugOutputMask, record.logFileMask});
    }
    for (const auto& entry : dllListRecords) view.scannedIds.push_back({entry.first, entry.second.dllName});
    return view;
}

void CComponentClassInfoList::ScanModuleList()
{
    if (hasDllList == 0 || dllListScanned != 0) return;
    ScanDllList();
    dllListScanned = 1;
}

CreationRoute CComponentClassInfoList::Route(ComponentId componentId) const
{
    // The order of CreateComponentFromDll.
    if (configRecords.contains(componentId)) return CreationRoute::Section;
    if (hasDllList != 0) return CreationRoute::ScannedModule;
    if (defaultDllPath[0] != '\0' && defaultDllModule != Platform::InvalidModule()) return CreationRoute::DefaultModule;
    return CreationRoute::Nothing;
}

void CComponentClassInfoList::NoteIgnoredLine(IgnoredLine why)
{
    if (observer != nullptr && parsedLine != nullptr) {
        observer->OnIgnoredLine(static_cast<uint32_t>(parsedLine - text.get()), why);
    }
}

void CComponentClassInfoList::NoteKey(ConfigKey key, const char* value)
{
    if (observer != nullptr && parsedLine != nullptr && key != ConfigKey::None) {
        observer->OnKey(static_cast<uint32_t>(parsedLine - text.get()), key, value);
    }
}

}  // namespace Orvik
