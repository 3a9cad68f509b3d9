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
//   catalog_view.cpp     what tools see of a catalog: its view and observer

#include <cstdint>
#include <deque>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "catalog/catalog_observer.h"
#include "catalog/catalog_view.h"
#include "catalog/config_records.h"
#include "catalog/ready_creations.h"
#include "orvik/module/component.h"
#include "orvik/module/factory_inspection.h"
#include "orvik/module/module_exports.h"
#include "orvik/platform/module_loader.h"
#include "orvik/util/file_operator.h"
#include "orvik/util/string_manipulate.h"
#include "platform/mutex.h"

namespace Orvik {

namespace ConfigText {
struct LineMarks;
}

// The record of one component id from its numbered section, as the file
// gives it. A file may hold hundreds of thousands, so a record takes 12
// bytes: the module's name is an offset into the text the catalog keeps,
// flags and log masks (six bits) take a byte each, and what the section's
// first request adds (the resolved path, the loaded module) lies aside in a
// SectionModule of the catalog.
struct ComponentClassInfo {
    uint32_t dll = 0;           // offset of the value written under "dll" in the catalog's text;
                                // 0 when none was (a value never starts the text)
    uint32_t pathResolved = 0;  // 0 until the path is resolved, then 1 + the index of its SectionModule
    int8_t notUseDefaultDllPath = 0;  // a relative dll is taken from the file's directory
    int8_t hasLogSetting = 0;         // the section set a log key
    uint8_t debugOutputMask = 0;
    uint8_t logFileMask = 0;
};

// A requested section's resolved module path and its module, loaded or not.
struct SectionModule {
    Platform::ModuleHandle module = nullptr;  // loaded providing module; 0 until loaded
    std::string fullPath;
    bool loadedBefore = false;  // a load after this is a reload
};

// The record of one component id learned by scanning a module.
struct DllListClassInfo {
    Platform::ModuleHandle module;             // 0 once the module was forgotten
    Exports::CreateComponent::Function createComponent;  // cached entry point, null until resolved
    char dllName[29];                          // the name as listed, trimmed
};

// References the catalog holds to one scanned module: the first, and those
// of the loads that followed it before any other module was listed.
struct ListedModule {
    Platform::UniqueModule reference;
    uint32_t moreReferences;
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

    // Relative configuration paths are completed with the process root path
    // (asked for by the path helpers).
    const char* GetBaseDirectory() const;

    // Reads and parses the configuration file once; always 1.
    uint32_t LoadConfigFile(const char* registryPath, const char* configFilePath);
    // The "Path" value of file's "Redirect" section, as the profile reader
    // gives it. The file is read into the catalog's text on the way, so that
    // LoadConfigFile of that same file reads it no more.
    void ReadRedirectPath(const char* file, char* value, int size);

    // A component made by the module that provides componentId: its own
    // section's, a scanned one or the default module; null when none does.
    IComponent* CreateComponentFromDll(ComponentId componentId);
    // Without the owner's lock: true when a scanned module already loaded
    // and asked before answered the request, with its component (or null)
    // in *component; false when the request needs CreateComponentFromDll.
    bool CreateFromReadyModule(ComponentId componentId, IComponent** component);
    // Scans the names that failed to load again.
    void RescanFailedDlls();
    // Drops the catalog's references to a module that may leave memory.
    void FreeModule(Platform::ModuleHandle module);
    // Forgets the module's cached entry points (it is about to go idle).
    void ClearModuleRecords(Platform::ModuleHandle module);
    void GetLogSetting(ComponentId componentId, uint32_t* debugOutputMask, uint32_t* logFileMask);
    void GetLogFileLimits(uint32_t* maxFileCount, uint32_t* maxFileSize);

    // For tools. The observer hears about the file and the scan from the
    // next LoadConfigFile on; it must outlive the catalog's use of it.
    void SetObserver(CatalogObserver* observer);
    CatalogView View();
    // The module scan that the first request for an id other than 361 would
    // start, without creating anything.
    void ScanModuleList();
    // Where a request for the id would go, judged by the configuration.
    CreationRoute Route(ComponentId componentId) const;
    // Copies the catalog's state and the modules it holds for the factory's
    // snapshot (catalog_inspection.cpp).
    void Inspect(OrvikCatalogState* state, std::vector<OrvikModuleState>* modules) const;
    // The lock the owner holds around every call of the catalog; the catalog
    // leaves it while a provider's CreateComponent runs. None by default.
    void SetOwnerLock(Platform::RecursiveMutex* lock);
    // Before a module is freed: no request finds it through
    // CreateFromReadyModule any more. False while a provider's
    // CreateComponent, found through module, runs or is about to: the module
    // must stay loaded.
    bool PrepareUnload(Platform::ModuleHandle module);

    // Every message of the catalog is one debugger line.
    static void OutputDebugLine(const char* format, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 1, 2)))
#endif
        ;

private:
    // Tests look at the state through this one accessor.
    friend class CatalogTestAccess;

    // The "dlls" scan and preloading.
    void ScanDllList();
    bool GetNextDllName(char* name, int size, bool consume);
    void RecordScannedModule(Platform::ModuleHandle module, const char* name, const char* path);
    // Lists one more reference to a scanned module. May throw
    // std::bad_alloc; the reference is given back then.
    void ListScannedModule(Platform::UniqueModule reference);
    void NoteFailedDll(const char* name, const char* path, uint32_t error);
    void PreLoadDependDllList(const char* list);

    // Creation and module records.
    ComponentClassInfo* FindConfigRecord(ComponentId componentId);
    // The value written under the record's "dll", or "".
    const char* DllOf(const ComponentClassInfo& record) const;
    SectionModule& LoadConfigDll(ComponentClassInfo& record);
    void ResolveConfigDllPath(ComponentClassInfo& record);
    // The path the record's module is loaded from, by the rule of its kind.
    std::string ConfigDllPath(const ComponentClassInfo& record) const;
    IComponent* CreateFromConfigDll(SectionModule& section, ComponentId componentId);
    IComponent* CreateFromDllList(ComponentId componentId);
    void InitOrvikModule(DllListClassInfo& record);
    IComponent* CreateFromDefaultDll(ComponentId componentId);
    IComponent* CallCreateComponent(Exports::CreateComponent::Function createComponent,
                                    Platform::ModuleHandle module, ComponentId componentId);
    // Tells the trace sink which way a request goes (catalog_inspection.cpp).
    void TraceRoute(CreationRoute route, ComponentId componentId);

    // The parser's steps.
    void ReadConfigText(const char* path);
    // The next line, terminated in place; length receives its length as
    // text (a zero byte inside the line ends its text), marks where its
    // text holds the first '=' and '['. Inlined into the parse's loop, where
    // a call would cost a tenth of the parse.
    [[gnu::always_inline]] char* GetNextLine(size_t* length, ConfigText::LineMarks* marks);
    // The recognised key, or ConfigKey::None. A key's value is left in the
    // line, cut and trimmed in place, and value points to it.
    ConfigKey ParseLine(char* line, size_t length, const ConfigText::LineMarks& marks, const char** value,
                        ComponentId* componentId, SectionKind* sectionKind);
    // open is the line's first '[', which lower-casing leaves in place.
    void ParseSection(char* line, size_t length, char* open, ComponentId* componentId, SectionKind* sectionKind);
    // equals is the line's first '=', end its end.
    ConfigKey ParseKeyValue(char* line, char* equals, char* end, const char** value);
    void SetLogFlags(const char* value, SectionKind sectionKind, int which, ComponentClassInfo* record);
    // Applies one key line of the file to the settings or to record.
    void ApplyKey(ConfigKey key, const char* value, SectionKind sectionKind, ComponentClassInfo* record);
    // Tells the observer, if any, about the line being parsed.
    void NoteIgnoredLine(IgnoredLine why);
    void NoteKey(ConfigKey key, const char* value);

    char configFilePath[Platform::kMaxPath];
    char registryPath[Platform::kMaxPath];
    uint32_t textSize;
    std::unique_ptr<char[]> text;
    char* cursor;
    TSortedRecords<ComponentClassInfo> configRecords;
    std::map<ComponentId, DllListClassInfo> dllListRecords;
    // One reference per load of a scanned module, in load order.
    std::list<ListedModule> dllListModules;
    int32_t dllListScanned;
    char dllList[Platform::kMaxPath];
    char failedDlls[Platform::kMaxPath];
    int32_t hasDllList;
    std::list<Platform::UniqueModule> preloadedModules;
    uint32_t defaultDebugOutputMask;
    uint32_t defaultLogFileMask;
    int32_t maxFileCount;
    uint32_t maxFileSize;
    char dllPath[Platform::kMaxPath];
    char defaultDllPath[Platform::kMaxPath];
    // Stays loaded with the process; InvalidModule() once it failed to load.
    Platform::ModuleHandle defaultDllModule;
    CatalogObserver* observer = nullptr;
    // The start of the line being parsed, for the observer.
    const char* parsedLine = nullptr;

    // The file whose unparsed contents text holds, or empty.
    std::string textFile_;
    // Whether the code page may have lead bytes; a parse without them
    // searches bytes itself (config_text.h).
    bool leadBytes_ = true;
    // What the requested sections added to their records; a deque, so a
    // section's entry stays where it is while others are added.
    std::deque<SectionModule> sectionModules_;
    // Held by the owner around every call of the catalog: the analysis
    // cannot see that from here, so the catalog states it where it leaves
    // the lock.
    void OwnerLockHeld() const ORVIK_ASSERT_CAPABILITY(ownerLock_) {}
    Platform::RecursiveMutex* ownerLock_ = nullptr;
    // The module of each creation under way, once per creation. Few run at
    // once; the vector keeps its capacity, so a request allocates nothing.
    std::vector<Platform::ModuleHandle> creating_;
    // The scanned ids a request may create without the owner's lock.
    ReadyCreations ready_;
};

}  // namespace Orvik
