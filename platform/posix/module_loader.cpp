#include "orvik/platform/module_loader.h"

#include <dlfcn.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>

#include "platform/posix/error_numbers.h"
#include "platform/posix/executable_path.h"
#include "platform/posix/load_failure_note.h"
#include "platform/posix/loaded_modules.h"
#include "platform/posix/module_file.h"
#include "platform/posix/module_file_check.h"
#include "platform/posix/module_table.h"
#include "platform/posix/native_path.h"

namespace Orvik {
namespace Platform {

namespace {

// A name without extension gets ".dll"; a trailing dot says "no extension".
// The name is native: its only separator is '/', which like '.' is never
// the trail byte of a double-byte character.
std::string WithDefaultExtension(std::string name)
{
    const size_t slash = name.rfind('/');
    if (name.find('.', slash == std::string::npos ? 0 : slash + 1) == std::string::npos) name += ".dll";
    return name;
}

// An absolute path without empty, "." or ".." components and without a
// final slash is its own normal form; a name that merely begins with a dot
// takes the long way too.
bool IsAbsoluteNormal(const std::string& path)
{
    if (path.size() < 2 || path[0] != '/' || path.back() == '/') return false;
    // One pass without an early exit, which the compiler takes many bytes
    // at a time: a search per pattern restarts at every slash.
    bool dotOrSlashAfterSlash = false;
    for (size_t i = 1; i < path.size(); ++i) {
        dotOrSlashAfterSlash |= path[i - 1] == '/' && (path[i] == '.' || path[i] == '/');
    }
    return !dotOrSlashAfterSlash;
}

std::string AbsoluteNormalPath(std::string path)
{
    // Every load by path comes here; most paths are normal already.
    if (IsAbsoluteNormal(path)) return path;
    std::error_code error;
    std::filesystem::path absolute = std::filesystem::absolute(path, error);
    if (error) return path;
    return absolute.lexically_normal().string();
}

// kErrorSuccess for a regular file; else why it would not load. It is
// never opened: a FIFO would wait for its other end.
uint32_t RegularFileOrReason(const std::string& path)
{
    struct stat info;
    if (stat(path.c_str(), &info) != 0) return ModuleErrorFromErrno(errno);
    if (S_ISDIR(info.st_mode)) return kErrorModuleNotFound;
    return S_ISREG(info.st_mode) ? kErrorSuccess : kErrorBadExeFormat;
}

// What the loader said when it refused a module.
struct LoaderFailure {
    const char* text = nullptr;  // dlerror(), valid until the next call of the loader, or refusal
    int error = 0;               // errno as the loader left it
    // Why the file check refused the module, when it did for the file's
    // contents.
    char refusal[kLoadFailureTextSize] = {};
};

// The loader ran out of memory: it leaves the error number, or says so in
// its message (the system's words for ENOMEM, or its own when even the
// message could not be made). Some of its failures name no cause at all.
bool LoaderRanOutOfMemory(const LoaderFailure& failure)
{
    if (failure.error == ENOMEM) return true;
    return failure.text != nullptr && (std::strstr(failure.text, std::strerror(ENOMEM)) != nullptr ||
                                       std::strstr(failure.text, "out of memory") != nullptr);
}

// Why the loader refused a regular file, in Windows numbers.
uint32_t LoadFailureReason(const std::string& path, const LoaderFailure& failure)
{
    if (LoaderRanOutOfMemory(failure)) return kErrorNotEnoughMemory;
    const uint32_t reason = RegularFileOrReason(path);
    if (reason != kErrorSuccess) return reason;
    if (access(path.c_str(), R_OK) != 0) return kErrorAccessDenied;
    return kErrorModuleNotFound;  // a dependency or symbol is missing
}

// A reference the loader took, given back unless the module table records
// it: a failure between the two leaves no module loaded for good.
class LoaderReference {
public:
    explicit LoaderReference(void* handle) : handle_(handle) {}
    ~LoaderReference()
    {
        if (handle_ != nullptr) dlclose(handle_);
    }
    LoaderReference(const LoaderReference&) = delete;
    LoaderReference& operator=(const LoaderReference&) = delete;

    void* get() const { return handle_; }
    void* Keep() { return std::exchange(handle_, nullptr); }

private:
    void* handle_;
};

// Opens a file or, for a bare name, what the loader finds on its library
// path; null, with what the loader said, when it fails.
void* OpenWithLoader(const std::string& file, LoaderFailure* failure)
{
    errno = 0;
    void* handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        failure->error = errno;
        failure->text = dlerror();
    }
    return handle;
}

// file is what lies at path, found unless it could not be.
ModuleHandle OpenModuleFile(const std::string& path, ModuleFile* file, LoaderFailure* failure)
{
    // A module held from that very path is the one the loader would hand
    // out again without reading the file: it only counts once more.
    ModuleHandle held = nullptr;
    if (TakeHeldPath(path, &held)) return held;
    if (!file->found()) {
        SetLastErrorCode(ModuleErrorFromErrno(file->error()));
        return nullptr;
    }
    // A truncated or damaged file is refused before the loader maps it.
    const uint32_t refusal = CheckModuleFile(path, file, failure->refusal, sizeof failure->refusal);
    file->Close();
    if (refusal != kErrorSuccess) {
        if (failure->refusal[0] != '\0') failure->text = failure->refusal;
        SetLastErrorCode(refusal);
        return nullptr;
    }
    // As on Windows, success leaves the last error alone.
    LoaderReference opened(OpenWithLoader(path, failure));
    if (opened.get() == nullptr) {
        SetLastErrorCode(LoadFailureReason(path, *failure));
        return nullptr;
    }
    if (!AddModuleReference(opened.get(), path)) return opened.get();  // held under another name
    return opened.Keep();
}

// A module the loader holds under a name asked for again: its file is
// checked as it is now, whatever it became.
ModuleHandle OpenLoadedModuleFile(const std::string& path, LoaderFailure* failure)
{
    ModuleFile file;
    file.FindAny(path);
    return OpenModuleFile(path, &file, failure);
}

// The main program's handle never changes.
ModuleHandle MainProgram()
{
    static void* const mainProgram = [] {
        void* handle = dlopen(nullptr, RTLD_LAZY);
        dlclose(handle);
        return handle;
    }();
    return mainProgram;
}

// A module this layer did not open may be loaded only as another's
// dependency, which the loader searches only once it was opened by name: it
// is opened by its path for the lookup and closed again. Keeping such a
// module loaded meanwhile is the caller's affair.
void* SymbolOfModuleNotHeld(ModuleHandle module, const std::string& path, const char* name)
{
    void* opened = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (opened == nullptr) return nullptr;
    void* symbol = opened == module ? dlsym(opened, name) : nullptr;
    dlclose(opened);
    return symbol;
}

bool NamesMatch(const std::string& wanted, const std::string& loadedPath, bool wholePath)
{
    if (wholePath) return strcasecmp(wanted.c_str(), AbsoluteNormalPath(loadedPath).c_str()) == 0;
    return strcasecmp(wanted.c_str(), FileNamePart(loadedPath.c_str())) == 0;
}

bool FindLoadedByName(const std::string& nativeName, LoadedModule* found)
{
    const bool wholePath = nativeName.find('/') != std::string::npos;
    const std::string wanted = wholePath ? AbsoluteNormalPath(nativeName) : nativeName;
    for (LoadedModule& module : ListLoadedModules()) {
        if (NamesMatch(wanted, module.path, wholePath)) {
            *found = std::move(module);
            return true;
        }
    }
    return false;
}

// Whether a file found while searching for a bare name only means "not
// here": the search goes on past a missing, inaccessible or odd file, and
// stops at an error of the system.
bool NotHere(uint32_t reason)
{
    return reason == kErrorModuleNotFound || reason == kErrorBadExeFormat || reason == kErrorAccessDenied;
}

}  // namespace

// LoadModule without the record of its failures.
static ModuleHandle LoadModuleFile(const char* path, LoaderFailure* failure)
{
    if (path == nullptr || *path == '\0') {
        SetLastErrorCode(kErrorModuleNotFound);
        return nullptr;
    }
    // Windows drops trailing blanks before anything else; finding a loaded
    // module keeps them. (The native form changes no blank, so they go from
    // it, without a copy of their own.)
    std::string name = ToNativePath(path);
    name.erase(name.find_last_not_of(' ') + 1);
    name = WithDefaultExtension(std::move(name));
    if (name.find('/') != std::string::npos) {
        const std::string file = AbsoluteNormalPath(std::move(name));
        ModuleHandle held = nullptr;
        if (TakeHeldPath(file, &held)) return held;
        ModuleFile found;
        const uint32_t reason = found.Find(file);
        if (reason == kErrorSuccess) return OpenModuleFile(file, &found, failure);
        SetLastErrorCode(reason);
        return nullptr;
    }

    // A bare name: a module of that name already loaded wins, then the
    // executable's directory, the current directory, the library path.
    LoadedModule loaded;
    if (FindLoadedByName(name, &loaded)) return OpenLoadedModuleFile(loaded.path, failure);
    for (const std::string& directory : {ExecutableDirectory(), AbsoluteNormalPath(".")}) {
        const std::string file = directory + "/" + name;
        ModuleFile found;
        const uint32_t reason = found.Find(file);
        if (reason == kErrorSuccess) return OpenModuleFile(file, &found, failure);
        if (!NotHere(reason)) {
            SetLastErrorCode(reason);
            return nullptr;
        }
    }
    // The loader found the file on its library path; its list of loaded
    // objects tells where. (The list is read through the loader's own walk:
    // its link map is written under a lock race checkers cannot see.)
    LoaderReference opened(OpenWithLoader(name, failure));
    if (opened.get() == nullptr) {
        SetLastErrorCode(LoaderRanOutOfMemory(*failure) ? kErrorNotEnoughMemory : kErrorModuleNotFound);
        return nullptr;
    }
    LoadedModule found;
    if (!AddModuleReference(opened.get(), FindModuleByHandle(opened.get(), &found) ? found.path : name)) {
        return opened.get();  // held already: the table keeps the loader's reference it took then
    }
    return opened.Keep();
}

ModuleHandle LoadModule(const char* path)
{
    dlerror();  // a message left from an earlier failure must not be taken for this one's
    LoaderFailure failure;
    ModuleHandle module = nullptr;
    try {
        module = LoadModuleFile(path, &failure);
    } catch (const std::bad_alloc&) {
        SetLastErrorCode(kErrorNotEnoughMemory);
    }
    if (module == nullptr) NoteLoadFailure(path, GetLastErrorCode(), failure.text);
    return module;
}

ExportedFunction FindExport(ModuleHandle module, const char* name)
try {
    if (module == nullptr) module = MainProgram();
    // A module the platform holds a reference to is loaded, and answers from
    // the exports found in it before; any other handle is looked for among
    // all the loaded objects.
    void* symbol = nullptr;
    const bool held = module == MainProgram() || (name != nullptr ? FindKnownExport(module, name, &symbol)
                                                                  : FindHeldModule(module, nullptr));
    if (symbol != nullptr) return reinterpret_cast<ExportedFunction>(symbol);
    LoadedModule owner;
    if (!held && !FindModuleByHandle(module, &owner)) {
        SetLastErrorCode(kErrorModuleNotFound);
        return nullptr;
    }
    // dlsym also searches the module's dependencies; only the module's own
    // exports count.
    if (name != nullptr) symbol = held ? dlsym(module, name) : SymbolOfModuleNotHeld(module, owner.path, name);
    if (symbol != nullptr && ModuleHolding(symbol) != module) symbol = nullptr;
    if (symbol == nullptr) {
        SetLastErrorCode(kErrorProcedureNotFound);
        return nullptr;
    }
    if (held && module != MainProgram()) RememberExport(module, name, symbol);
    return reinterpret_cast<ExportedFunction>(symbol);
} catch (const std::bad_alloc&) {
    return OutOfMemory(ExportedFunction{nullptr});
}

bool ReleaseModule(ModuleHandle module)
try {
    bool last = false;
    if (DropModuleReference(module, &last)) return !last || dlclose(module) == 0;
    LoadedModule owner;
    if (!FindModuleByHandle(module, &owner)) {
        SetLastErrorCode(kErrorModuleNotFound);
        return false;
    }
    return dlclose(module) == 0;
} catch (const std::bad_alloc&) {
    return OutOfMemory(false);
}

ModuleHandle FindLoadedModule(const char* name)
try {
    if (name == nullptr) return MainProgram();
    LoadedModule found;
    if (FindLoadedByName(WithDefaultExtension(ToNativePath(name)), &found)) return found.handle;
    SetLastErrorCode(kErrorModuleNotFound);
    return nullptr;
} catch (const std::bad_alloc&) {
    return OutOfMemory(ModuleHandle{nullptr});
}

uint32_t GetModuleFilePath(ModuleHandle module, char* buffer, uint32_t size)
try {
    if (module == nullptr) module = MainProgram();
    std::string nativePath;
    LoadedModule found;
    if (module == MainProgram()) {
        nativePath = ExecutablePath();
        if (nativePath.empty()) return 0;
    } else if (!FindHeldModule(module, &nativePath)) {
        if (!FindModuleByHandle(module, &found)) {
            SetLastErrorCode(kErrorModuleNotFound);
            return 0;
        }
        nativePath = found.path;
    }
    if (buffer == nullptr || size == 0) return 0;
    const std::string path = FromNativePath(AbsoluteNormalPath(nativePath));
    if (path.size() < size) {
        std::memcpy(buffer, path.c_str(), path.size() + 1);
        // As on Windows, success clears an earlier error.
        SetLastErrorCode(kErrorSuccess);
        return static_cast<uint32_t>(path.size());
    }
    std::memcpy(buffer, path.c_str(), size - 1);
    buffer[size - 1] = '\0';
    SetLastErrorCode(kErrorInsufficientBuffer);
    return size;
} catch (const std::bad_alloc&) {
    return OutOfMemory(uint32_t{0});
}

ModuleHandle ModuleContainingAddress(const void* address)
{
    const ModuleHandle module = ModuleHolding(address);
    if (module == nullptr) SetLastErrorCode(kErrorModuleNotFound);
    return module;
}

}  // namespace Platform
}  // namespace Orvik
