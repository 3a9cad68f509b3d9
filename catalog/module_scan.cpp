// The "dlls" scan with its list of failed names, preloading, and the
// destruction that releases what the scan and the preloading loaded.

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "catalog/component_class_info_list.h"
#include "catalog/trace_gate.h"
#include "orvik/module/module_exports.h"
#include "platform/multibyte.h"
#include "platform/path_split.h"

namespace Orvik {

namespace {

// The most ids read from one module.
constexpr int32_t kMaxScannedIds = 512;
// The scan's name buffer: an item of the "dlls" list holds at most 29
// characters, blanks included.
constexpr int kDllItemSize = 30;

// Bytes of the first item of a comma-separated list.
size_t FirstItemLength(const char* list)
{
    const char* comma = Platform::FindCharacter(list, ',');
    return comma != nullptr ? static_cast<size_t>(comma - list) : std::strlen(list);
}

}  // namespace

// Lists a loaded module and records every id it reports as its own. The
// reference is the list's once listed, and given back if it cannot be.
void CComponentClassInfoList::RecordScannedModule(Platform::ModuleHandle module, const char* name, const char* path)
{
    ListScannedModule(Platform::UniqueModule(module));
    auto getIds = FindModuleExport<Exports::GetComponentIDs>(module);
    if (getIds == nullptr) {
        OutputDebugLine("[Orvik_Error] No export \"GetComponentIDs\" function from %s Fail.\n", path);
        return;
    }
    uint32_t ids[kMaxScannedIds] = {};
    const int32_t count = std::min(getIds(ids, kMaxScannedIds), kMaxScannedIds);
    for (int32_t i = 0; i < count; ++i) {
        DllListClassInfo record{module, nullptr, {}};
        CopyString(record.dllName, sizeof record.dllName, name);
        dllListRecords[ids[i]] = record;
        ready_.Withdraw(ids[i]);
    }
}

// Remembers a name whose module did not load, once, for RescanFailedDlls.
void CComponentClassInfoList::NoteFailedDll(const char* name, const char* path, uint32_t error)
{
    if (Platform::FindSubstring(failedDlls, name) == nullptr) {
        if (failedDlls[0] != '\0') AppendString(failedDlls, sizeof failedDlls, ",");
        AppendString(failedDlls, sizeof failedDlls, name);
    }
    OutputDebugLine("[Orvik_Error] LoadLibrary(%s) Fail. ErrorCode(%d)\n", path, static_cast<int>(error));
}

CComponentClassInfoList::~CComponentClassInfoList()
{
    // The modules of sections and the default module stay loaded, and so
    // does a scanned module that still has live components; the scan's
    // other references go first, then the preloaded modules'. Each scanned
    // module that agrees is freed before the next one is asked, so a module
    // whose answer depends on an earlier one having left can leave too.
    for (ListedModule& listed : dllListModules) {
        auto canUnloadNow = FindModuleExport<Exports::OrvikDllCanUnloadNow>(listed.reference.get());
        if (canUnloadNow != nullptr && canUnloadNow() != 0) {
            // Named while it is surely there.
            const bool tracing = Trace::Active();
            const std::string path = tracing ? Trace::ModulePath(listed.reference.get()) : std::string();
            const Platform::ModuleHandle handle = listed.reference.get();
            for (; listed.moreReferences > 0; --listed.moreReferences) Platform::ReleaseModule(handle);
            listed.reference.reset();
            if (tracing) Trace::Module(kOrvikTraceUnloadDone, handle, registryPath, path.c_str());
        } else {
            listed.reference.release();
        }
    }
    dllListModules.clear();
    preloadedModules.clear();
}

bool CComponentClassInfoList::GetNextDllName(char* name, int size, bool consume)
{
    if (name == nullptr || size < 1) return false;
    name[0] = '\0';
    const size_t length = FirstItemLength(dllList);
    // An item as long as size or longer leaves the name empty.
    CopyStringN(name, size, dllList, static_cast<int>(length));
    if (consume) {
        const char* rest = dllList + length;
        if (*rest == ',') ++rest;
        std::memmove(dllList, rest, std::strlen(rest) + 1);
    }
    TrimSpaces(name, name, size);
    return name[0] != '\0';
}

void CComponentClassInfoList::ScanDllList()
{
    for (;;) {
        char name[kDllItemSize] = {};
        const size_t itemLength = FirstItemLength(dllList);
        const bool taken = GetNextDllName(name, sizeof name, false);
        // A name too long for the records is skipped; the rest of the list
        // is still worth scanning.
        if (itemLength >= sizeof name || std::strlen(name) >= sizeof(DllListClassInfo::dllName)) {
            OutputDebugLine("[Orvik_Error] Name too long in the dlls list, skipped(%.*s).\n",
                            static_cast<int>(itemLength), dllList);
            if (observer != nullptr) {
                observer->OnScan(std::string(dllList, itemLength).c_str(), "", ScanOutcome::NameTooLong, 0);
            }
            GetNextDllName(name, sizeof name, true);
            continue;
        }
        // An empty item ends the scan.
        if (!taken) {
            if (observer != nullptr && dllList[0] != '\0') observer->OnScan(dllList, "", ScanOutcome::ListCut, 0);
            return;
        }

        char path[Platform::kMaxPath] = {};
        JoinPath(dllPath, name, path, sizeof path);
        const Platform::ModuleHandle module = Platform::LoadModule(path);
        const uint32_t loadError = Platform::GetLastErrorCode();
        if (Trace::Active()) {
            Trace::Module(module != nullptr ? kOrvikTraceLoad : kOrvikTraceLoadFailed, module, registryPath, path,
                          module != nullptr ? 0 : loadError);
        }
        // The module's initialisation may have re-entered the catalog and
        // scanned the list itself.
        if (dllList[0] == '\0') return;
        if (Platform::FindSubstring(dllList, name) == nullptr) continue;

        if (module != nullptr) {
            RecordScannedModule(module, name, path);
        } else {
            NoteFailedDll(name, path, loadError);
        }
        // A load that succeeds leaves the last error as it was.
        if (observer != nullptr) {
            observer->OnScan(name, path, module != nullptr ? ScanOutcome::Loaded : ScanOutcome::Failed,
                             module != nullptr ? 0 : loadError);
        }
        GetNextDllName(name, sizeof name, true);
    }
}

void CComponentClassInfoList::RescanFailedDlls()
{
    if (failedDlls[0] == '\0') return;
    CopyString(dllList, sizeof dllList, failedDlls);
    std::memset(failedDlls, 0, sizeof failedDlls);
    ScanDllList();
}

void CComponentClassInfoList::PreLoadDependDllList(const char* list)
{
    if (list == nullptr) return;
    std::string copy(list);
    char* item = copy.data();
    while (*item != '\0') {
        char* next = item + std::strlen(item);
        if (char* comma = Platform::FindCharacter(item, ',')) {
            *comma = '\0';
            next = comma + 1;
        }
        char name[Platform::kMaxPath] = {};
        TrimSpaces(item, name, Platform::kMaxPath - 1);
        item = next;

        char path[Platform::kMaxPath] = {};
        JoinPath(dllPath, name, path, sizeof path);
        char baseName[Platform::kMaxFileName] = {};
        Platform::SplitPath(path, nullptr, nullptr, baseName, nullptr);
        if (Platform::FindLoadedModule(baseName) != nullptr) {
            OutputDebugLine("[Orvik_Note] PreLoadDependDllList, %s already loaded!\n", baseName);
            if (observer != nullptr) observer->OnPreload(path, PreloadOutcome::AlreadyLoaded, 0);
            continue;
        }
        Platform::UniqueModule module(Platform::LoadModule(path));
        const uint32_t loadError = Platform::GetLastErrorCode();
        if (Trace::Active()) {
            Trace::Module(module ? kOrvikTraceLoad : kOrvikTraceLoadFailed, module.get(), registryPath, path,
                          module ? 0 : loadError);
        }
        if (observer != nullptr) {
            observer->OnPreload(path, module ? PreloadOutcome::Loaded : PreloadOutcome::Failed, module ? 0 : loadError);
        }
        if (module) {
            preloadedModules.push_back(std::move(module));
        } else {
            OutputDebugLine("[Orvik_Error] PreLoadDependDllList(%s) Fail. ErrorCode(%d)\n", path,
                            static_cast<int>(loadError));
        }
    }
}

}  // namespace Orvik
