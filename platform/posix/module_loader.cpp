#include "orvik/platform/module_loader.h"

#include <dlfcn.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "platform/posix/executable_path.h"
#include "platform/posix/load_failure_note.h"
#include "platform/posix/loaded_modules.h"
#include "platform/posix/module_file_check.h"
#include "platform/posix/module_table.h"
#include "platform/posix/native_path.h"

namespace Orvik {
namespace Platform {

namespace {

// A name without extension gets ".dll"; a trailing dot says "no extension".
std::string WithDefaultExtension(std::string name)
{
    const char* fileName = FileNamePart(name.c_str());
    if (std::strchr(fileName, '.') == nullptr) name += ".dll";
    return name;
}

// An absolute path without empty, "." or ".." components and without a
// final slash is its own normal form; a name that merely begins with a dot
// takes the long way too.
bool IsAbsoluteNormal(const std::string& path)
{
    return path.size() > 1 && path[0] == '/' && path.back() != '/' && path.find("/.") == std::string::npos &&
           path.find("//") == std::string::npos;
}

std::string AbsoluteNormalPath(const std::string& path)
{
    // Every load by path comes here; most paths are normal already.
    if (IsAbsoluteNormal(path)) return path;
    std::error_code error;
    std::filesystem::path absolute = std::filesystem::absolute(path, error);
    if (error) return path;
    return absolute.lexically_normal().string();
}

// Why a file would not load, in Windows numbers. It is never opened: a
// FIFO would wait for its other end.
uint32_t LoadFailureReason(const std::string& path)
{
    struct stat info;
    if (stat(path.c_str(), &info) != 0 || S_ISDIR(info.st_mode)) return kErrorModuleNotFound;
    if (!S_ISREG(info.st_mode)) return kErrorBadExeFormat;
    if (access(path.c_str(), R_OK) != 0) return kErrorAccessDenied;
    return kErrorModuleNotFound;  // a dependency or symbol is missing
}

bool IsRegularFile(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

ModuleHandle OpenModuleFile(const std::string& path, bool held)
{
    // A truncated or damaged file is refused before the loader maps it. A
    // module held from that very path is handed out again by the loader
    // without reading the file: neither the file nor the list of loaded
    // objects is looked at.
    const uint32_t refusal = held ? kErrorSuccess : CheckModuleFile(path);
    if (refusal != kErrorSuccess) {
        SetLastErrorCode(refusal);
        return nullptr;
    }
    // As on Windows, success leaves the last error alone.
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle != nullptr) {
        AddModuleReference(handle, path);
    } else {
        SetLastErrorCode(LoadFailureReason(path));
    }
    return handle;
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

}  // namespace

// LoadModule without the record of its failures.
static ModuleHandle LoadModuleFile(const char* path)
{
    if (path == nullptr || *path == '\0') {
        SetLastErrorCode(kErrorModuleNotFound);
        return nullptr;
    }
    // Windows drops trailing blanks before anything else; finding a loaded
    // module keeps them.
    std::string given(path);
    given.erase(given.find_last_not_of(' ') + 1);
    const std::string name = WithDefaultExtension(ToNativePath(given.c_str()));
    if (name.find('/') != std::string::npos) {
        const std::string file = AbsoluteNormalPath(name);
        const bool held = IsHeldPath(file);
        if (held || IsRegularFile(file)) return OpenModuleFile(file, held);
        SetLastErrorCode(LoadFailureReason(file));
        return nullptr;
    }

    // A bare name: a module of that name already loaded wins, then the
    // executable's directory, the current directory, the library path.
    LoadedModule loaded;
    if (FindLoadedByName(name, &loaded)) return OpenModuleFile(loaded.path, IsHeldPath(loaded.path));
    for (const std::string& directory : {ExecutableDirectory(), AbsoluteNormalPath(".")}) {
        const std::string file = directory + "/" + name;
        if (IsRegularFile(file)) return OpenModuleFile(file, IsHeldPath(file));
    }
    // The loader found the file on its library path; its list of loaded
    // objects tells where. (The list is read through the loader's own walk:
    // its link map is written under a lock race checkers cannot see.)
    void* handle = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    LoadedModule found;
    if (handle != nullptr) {
        AddModuleReference(handle, FindModuleByHandle(handle, &found) ? found.path : name);
    } else {
        SetLastErrorCode(kErrorModuleNotFound);
    }
    return handle;
}

ModuleHandle LoadModule(const char* path)
{
    dlerror();  // a message left from an earlier failure must not be taken for this one's
    const ModuleHandle module = LoadModuleFile(path);
    if (module == nullptr) NoteLoadFailure(path, GetLastErrorCode(), dlerror());
    return module;
}

ExportedFunction FindExport(ModuleHandle module, const char* name)
{
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
}

bool ReleaseModule(ModuleHandle module)
{
    if (DropModuleReference(module)) return dlclose(module) == 0;
    LoadedModule owner;
    if (!FindModuleByHandle(module, &owner)) {
        SetLastErrorCode(kErrorModuleNotFound);
        return false;
    }
    return dlclose(module) == 0;
}

ModuleHandle FindLoadedModule(const char* name)
{
    if (name == nullptr) return MainProgram();
    LoadedModule found;
    if (FindLoadedByName(WithDefaultExtension(ToNativePath(name)), &found)) return found.handle;
    SetLastErrorCode(kErrorModuleNotFound);
    return nullptr;
}

uint32_t GetModuleFilePath(ModuleHandle module, char* buffer, uint32_t size)
{
    if (module == nullptr) module = MainProgram();
    std::string nativePath;
    LoadedModule found;
    if (module == MainProgram()) {
        nativePath = ExecutablePath();
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
}

ModuleHandle ModuleContainingAddress(const void* address)
{
    const ModuleHandle module = ModuleHolding(address);
    if (module == nullptr) SetLastErrorCode(kErrorModuleNotFound);
    return module;
}

}  // namespace Platform
}  // namespace Orvik
