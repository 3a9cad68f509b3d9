#include "platform/module_loader.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/posix/loaded_modules.h"
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

std::string AbsoluteNormalPath(const std::string& path)
{
    std::error_code error;
    std::filesystem::path absolute = std::filesystem::absolute(path, error);
    if (error) return path;
    return absolute.lexically_normal().string();
}

bool IsLoadableElf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    unsigned char header[EI_NIDENT] = {};
    if (!file.read(reinterpret_cast<char*>(header), sizeof header)) return false;
    const unsigned char ownClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
    return std::memcmp(header, ELFMAG, SELFMAG) == 0 && header[EI_CLASS] == ownClass;
}

// Why an existing file would not load, in Windows numbers.
uint32_t LoadFailureReason(const std::string& path)
{
    struct stat info;
    if (stat(path.c_str(), &info) != 0 || S_ISDIR(info.st_mode)) return kErrorModuleNotFound;
    if (access(path.c_str(), R_OK) != 0) return kErrorAccessDenied;
    if (!IsLoadableElf(path)) return kErrorBadExeFormat;
    return kErrorModuleNotFound;  // a dependency or symbol is missing
}

bool IsRegularFile(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

ModuleHandle OpenModuleFile(const std::string& path)
{
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    SetLastErrorCode(handle != nullptr ? kErrorSuccess : LoadFailureReason(path));
    return handle;
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

ModuleHandle LoadModule(const char* path)
{
    if (path == nullptr || *path == '\0') {
        SetLastErrorCode(kErrorModuleNotFound);
        return nullptr;
    }
    const std::string name = WithDefaultExtension(ToNativePath(path));
    if (name.find('/') != std::string::npos) {
        const std::string file = AbsoluteNormalPath(name);
        if (IsRegularFile(file)) return OpenModuleFile(file);
        SetLastErrorCode(LoadFailureReason(file));
        return nullptr;
    }

    // A bare name: a module of that name already loaded wins, then the
    // executable's directory, the current directory, the library path.
    LoadedModule loaded;
    if (FindLoadedByName(name, &loaded)) return OpenModuleFile(loaded.path);
    for (const std::string& directory : {ExecutableDirectory(), AbsoluteNormalPath(".")}) {
        const std::string file = directory + "/" + name;
        if (IsRegularFile(file)) return OpenModuleFile(file);
    }
    void* handle = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    SetLastErrorCode(handle != nullptr ? kErrorSuccess : kErrorModuleNotFound);
    return handle;
}

ExportedFunction FindExport(ModuleHandle module, const char* name)
{
    LoadedModule owner;
    if (module == nullptr) module = FindLoadedModule(nullptr);
    if (!FindModuleByHandle(module, &owner)) {
        SetLastErrorCode(kErrorModuleNotFound);
        return nullptr;
    }
    // dlsym also searches the module's dependencies; only the module's own
    // exports count.
    void* symbol = name != nullptr ? dlsym(module, name) : nullptr;
    if (symbol != nullptr && ModuleContainingAddress(symbol) != module) symbol = nullptr;
    if (symbol == nullptr) {
        SetLastErrorCode(kErrorProcedureNotFound);
        return nullptr;
    }
    return reinterpret_cast<ExportedFunction>(symbol);
}

bool ReleaseModule(ModuleHandle module)
{
    LoadedModule owner;
    if (!FindModuleByHandle(module, &owner)) {
        SetLastErrorCode(kErrorModuleNotFound);
        return false;
    }
    return dlclose(module) == 0;
}

ModuleHandle FindLoadedModule(const char* name)
{
    if (name == nullptr) {
        void* mainProgram = dlopen(nullptr, RTLD_LAZY);
        dlclose(mainProgram);
        return mainProgram;
    }
    LoadedModule found;
    if (FindLoadedByName(WithDefaultExtension(ToNativePath(name)), &found)) return found.handle;
    SetLastErrorCode(kErrorModuleNotFound);
    return nullptr;
}

uint32_t GetModuleFilePath(ModuleHandle module, char* buffer, uint32_t size)
{
    LoadedModule found;
    if (module == nullptr) module = FindLoadedModule(nullptr);
    if (!FindModuleByHandle(module, &found)) {
        SetLastErrorCode(kErrorModuleNotFound);
        return 0;
    }
    if (buffer == nullptr || size == 0) return 0;
    const std::string path = FromNativePath(AbsoluteNormalPath(found.path));
    if (path.size() < size) {
        std::memcpy(buffer, path.c_str(), path.size() + 1);
        return static_cast<uint32_t>(path.size());
    }
    std::memcpy(buffer, path.c_str(), size - 1);
    buffer[size - 1] = '\0';
    SetLastErrorCode(kErrorInsufficientBuffer);
    return size;
}

ModuleHandle ModuleContainingAddress(const void* address)
{
    Dl_info info;
    link_map* module = nullptr;
    if (dladdr1(address, &info, reinterpret_cast<void**>(&module), RTLD_DL_LINKMAP) == 0) return nullptr;
    // The loader's handle of a module is its link map.
    return module;
}

}  // namespace Platform
}  // namespace Orvik
