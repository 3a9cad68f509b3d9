#pragma once
// A read-only account of a catalog for tools: the settings its file gave,
// each numbered section's record with the module path it resolves to, and
// the ids its scan learned.

#include <cstdint>
#include <string>
#include <vector>

#include "orvik/module/component.h"

namespace Orvik {

struct CatalogRecordView {
    ComponentId id;
    std::string dll;  // as written under "dll"
    bool notUseDefaultDllPath;
    std::string modulePath;  // the path a request for the id loads
    bool hasLogSetting;
    uint32_t debugOutputMask;
    uint32_t logFileMask;
};

struct ScannedIdView {
    ComponentId id;
    std::string dllName;  // the module of the list that provides it
};

struct CatalogView {
    std::string configFilePath;
    std::string registryPath;
    std::string dllPath;
    std::string defaultDllPath;
    std::string dllList;  // the names not scanned yet
    bool hasDllList;
    uint32_t defaultDebugOutputMask;
    uint32_t defaultLogFileMask;
    int32_t maxFileCount;
    uint32_t maxFileSize;
    std::vector<CatalogRecordView> records;  // ascending ids
    std::vector<ScannedIdView> scannedIds;   // ascending ids
};

// Where a request for an id goes, in the order the catalog tries.
enum class CreationRoute {
    Section,        // the id's own section names the module
    ScannedModule,  // the "dlls" scan (whether or not it finds the id)
    DefaultModule,  // "defaultdll"
    Nothing,        // no section, no list, no default module: null
};

}  // namespace Orvik
