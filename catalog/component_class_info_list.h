#pragma once
// CComponentClassInfoList: the catalog of one configuration file. It knows
// which module provides which component id (from the id's own section, from
// scanning the modules of its "dlls" list, or from its default module),
// loads those modules and creates components through their exports.
//
// The operations are spread over files by concern:
//   config_file.cpp      reading and parsing the configuration file
//   module_scan.cpp      the "dlls" scan, failed names, preloading, destruction
//   creation_paths.cpp   creating components, forgetting and freeing modules,
//                        log settings

#include <cstdint>
#include <list>
#include <map>
#include <memory>

#include "module/component.h"
#include "platform/module_loader.h"
#include "util/file_operator.h"
#include "util/string_manipulate.h"

namespace Orvik {

// The record of one component id from its numbered section.
struct ComponentClassInfo {
    Platform::ModuleHandle module;   // loaded providing module; 0 until loaded
    int32_t pathResolved;            // fullPath has been computed
    int32_t notUseDefaultDllPath;    // a relative dll is taken from the file's directory
    char dll[Platform::kMaxPath];    // as written under "dll"
    char fullPath[Platform::kMaxPath];
    int32_t hasLogSetting;           // the section set a log key
    uint32_t debugOutputMask;
    uint32_t logFileMask;
};

using CreateComponentFunction = IComponent* (*)(int32_t componentId, uint32_t creatorId);

// The record of one component id learned by scanning a module.
struct DllListClassInfo {
    Platform::ModuleHandle module;             // 0 once the module was forgotten
    CreateComponentFunction createComponent;   // cached entry point, null until resolved
    char dllName[29];                          // the name as listed, trimmed
};

// Which kind of section the parser is in.
enum class SectionKind { None, DefaultValue, LogDefault, Component };

// The keys of a configuration file, in the order they are compared.
enum class ConfigKey {
    None = -1,
    OutputDebugString,
    WriteToLogFile,
    DllPath,
    Dll,
    NotUseDefaultDllPath,
    DefaultDll,
    Dlls,
    Preload,
    MaxFileCount,
    MaxFileSize,
};

class CComponentClassInfoList : public FileOperator<CComponentClassInfoList>,
                                public StringManipulate<CComponentClassInfoList> {
public:
    CComponentClassInfoList();
    ~CComponentClassInfoList() override;
    CComponentClassInfoList(const CComponentClassInfoList&) = delete;
    CComponentClassInfoList& operator=(const CComponentClassInfoList&) = delete;

    // Relative configuration paths are completed with the process root path.
    const char* GetBaseDirectory() const;

    // Reads and parses the configuration file once; always 1.
    uint32_t LoadConfigFile(const char* registryPath, const char* configFilePath);

    // The "dlls" scan, its retry and preloading.
    void ScanDllList();
    bool GetNextDllName(char* name, int size, bool consume);
    void RescanFailedDlls();
    void PreLoadDependDllList(const char* list);

    // Creation and module records.
    IComponent* CreateComponentFromDll(ComponentId componentId);
    ComponentClassInfo* FindConfigRecord(ComponentId componentId);
    void LoadConfigDll(ComponentClassInfo& record);
    void ResolveConfigDllPath(ComponentClassInfo& record);
    IComponent* CreateFromConfigDll(ComponentClassInfo& record, ComponentId componentId);
    IComponent* CreateFromDllList(ComponentId componentId);
    void InitOrvikModule(DllListClassInfo& record);
    IComponent* CreateFromDefaultDll(ComponentId componentId);
    void FreeModule(Platform::ModuleHandle module);
    void ClearModuleRecords(Platform::ModuleHandle module);
    void GetLogSetting(ComponentId componentId, uint32_t* debugOutputMask, uint32_t* logFileMask);
    void GetLogFileLimits(uint32_t* maxFileCount, uint32_t* maxFileSize);

    // The parser's steps.
    void ReadConfigText(const char* path);
    char* GetNextLine();
    // The recognised key, or ConfigKey::None.
    ConfigKey ParseLine(char* line, char* value, int valueSize, ComponentId* componentId, SectionKind* sectionKind);
    void ParseSection(char* line, ComponentId* componentId, SectionKind* sectionKind);
    ConfigKey ParseKeyValue(char* line, char* value, int valueSize);
    void SetLogFlags(const char* value, SectionKind sectionKind, int which, ComponentClassInfo* record);

    // Every message of the catalog is one debugger line.
    static void OutputDebugLine(const char* format, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 1, 2)))
#endif
        ;

    // The catalog's state, open to the factory that owns it and to tests.
    char configFilePath[Platform::kMaxPath];
    char registryPath[Platform::kMaxPath];
    uint32_t textSize;
    std::unique_ptr<char[]> text;
    char* cursor;
    std::map<ComponentId, ComponentClassInfo> configRecords;
    std::map<ComponentId, DllListClassInfo> dllListRecords;
    std::list<Platform::ModuleHandle> dllListModules;
    int32_t dllListScanned;
    char dllList[Platform::kMaxPath];
    char failedDlls[Platform::kMaxPath];
    int32_t hasDllList;
    std::list<Platform::ModuleHandle> preloadedModules;
    uint32_t defaultDebugOutputMask;
    uint32_t defaultLogFileMask;
    int32_t maxFileCount;
    uint32_t maxFileSize;
    char dllPath[Platform::kMaxPath];
    char defaultDllPath[Platform::kMaxPath];
    Platform::ModuleHandle defaultDllModule;

private:
    // Applies one key line of the file to the settings or to record.
    void ApplyKey(ConfigKey key, const char* value, SectionKind sectionKind, ComponentClassInfo* record);
};

}  // namespace Orvik
