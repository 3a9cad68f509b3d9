#include "platform/posix/module_file_check.h"

#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <new>
#include <set>
#include <vector>

#include "orvik/platform/module_loader.h"
#include "platform/posix/elf_dynamic.h"
#include "platform/posix/elf_image.h"
#include "platform/posix/elf_module.h"
#include "platform/posix/error_numbers.h"
#include "platform/posix/loaded_modules.h"
#include "platform/posix/native_path.h"

namespace Orvik {
namespace Platform {

namespace {

// Deeper chains of modules found beside each other are not followed.
constexpr int kMaxDependencyDepth = 16;

uint32_t CheckOpenFile(int descriptor, ElfDynamic* dynamic)
{
    struct stat info;
    if (fstat(descriptor, &info) != 0) return ModuleErrorFromErrno(errno);
    if (!S_ISREG(info.st_mode)) return kErrorBadExeFormat;
    const FileElfImage image(descriptor, static_cast<uint64_t>(info.st_size));
    if (ReadModuleImage(image, dynamic)) return kErrorSuccess;
    return image.readError() != 0 ? ModuleErrorFromErrno(image.readError()) : kErrorBadExeFormat;
}

// Opened without waiting, as a FIFO would; only a regular file is read.
uint32_t CheckOneFile(const std::string& path, ElfDynamic* dynamic)
{
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return ModuleErrorFromErrno(errno);
    const uint32_t result = CheckOpenFile(descriptor, dynamic);
    close(descriptor);
    return result;
}

std::string DirectoryOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool IsRegularFile(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

// Appends the directories of a search list ("a:b"), with $ORIGIN standing
// for the module's own directory. Other substitutions name system places
// and are left out.
void AddSearchList(const std::string& list, const std::string& origin, std::vector<std::string>* directories)
{
    size_t start = 0;
    for (;;) {
        const size_t end = list.find(':', start);
        std::string directory = list.substr(start, end == std::string::npos ? std::string::npos : end - start);
        for (const char* token : {"${ORIGIN}", "$ORIGIN"}) {
            for (size_t at = directory.find(token); at != std::string::npos; at = directory.find(token)) {
                directory.replace(at, std::char_traits<char>::length(token), origin);
            }
        }
        if (directory.find('$') == std::string::npos) directories->push_back(directory.empty() ? "." : directory);
        if (end == std::string::npos) return;
        start = end + 1;
    }
}

// Where the loader looks for a bare name before its cache and the system
// directories, in its order: the module's old-style list when it has no
// new one, the library path, the new list. (The loader also searches the
// old-style lists of the modules that load this one; those are left out.)
std::vector<std::string> SearchDirectories(const ElfDynamic& dynamic, const std::string& origin)
{
    std::vector<std::string> directories;
    if (!dynamic.Has(DT_RUNPATH) && dynamic.Has(DT_RPATH)) {
        AddSearchList(dynamic.String(dynamic.Value(DT_RPATH)), origin, &directories);
    }
    if (const char* libraryPath = std::getenv("LD_LIBRARY_PATH")) AddSearchList(libraryPath, origin, &directories);
    if (dynamic.Has(DT_RUNPATH)) AddSearchList(dynamic.String(dynamic.Value(DT_RUNPATH)), origin, &directories);
    return directories;
}

// The names the loader knows its modules by: the paths it loaded them from.
std::vector<std::string> LoadedModuleNames()
{
    struct Names {
        std::vector<std::string> list;
        bool complete = true;
    } names;
    // The walk holds the loader's lock: nothing may leave it but its
    // result, so a failed allocation ends it.
    dl_iterate_phdr(
        [](dl_phdr_info* info, size_t, void* collected) {
            auto& names = *static_cast<Names*>(collected);
            try {
                const char* name = info->dlpi_name;
                if (name != nullptr) names.list.emplace_back(name, LoaderNameLength(name));
                return 0;
            } catch (const std::bad_alloc&) {
                names.complete = false;
                return 1;
            }
        },
        &names);
    if (!names.complete) throw std::bad_alloc();
    return std::move(names.list);
}

bool IsLoadedByName(const std::string& name)
{
    for (const std::string& loaded : LoadedModuleNames()) {
        if (name == FileNamePart(loaded.c_str())) return true;
    }
    return false;
}

// The file the loader would load for a needed name from the module's
// search directories; empty when it would take one already loaded or look
// further, among the system's own modules.
std::string FindDependency(const std::string& name, const std::vector<std::string>& directories)
{
    if (name.find('/') != std::string::npos) return name;
    for (const std::string& directory : directories) {
        const std::string candidate = directory + "/" + name;
        if (IsRegularFile(candidate)) return IsLoadedByName(name) ? std::string() : candidate;
    }
    return std::string();
}

uint32_t CheckWithDependencies(const std::string& path, int depth, std::set<std::string>* checked)
{
    if (depth > kMaxDependencyDepth || !checked->insert(path).second) return kErrorSuccess;
    ElfDynamic dynamic;
    const uint32_t result = CheckOneFile(path, &dynamic);
    if (result != kErrorSuccess) return result;
    const std::vector<std::string> directories = SearchDirectories(dynamic, DirectoryOf(path));
    for (uint64_t offset : dynamic.needed()) {
        const std::string dependency = FindDependency(dynamic.String(offset), directories);
        if (dependency.empty()) continue;
        const uint32_t dependencyResult = CheckWithDependencies(dependency, depth + 1, checked);
        // A dependency the loader cannot open reads as missing, which the
        // loader itself reports.
        if (dependencyResult != kErrorSuccess && dependencyResult != kErrorModuleNotFound) return dependencyResult;
    }
    return kErrorSuccess;
}

}  // namespace

uint32_t CheckModuleFile(const std::string& nativePath)
{
    // The loader hands out a module already loaded from that path without
    // reading the file again.
    for (const std::string& loaded : LoadedModuleNames()) {
        if (loaded == nativePath) return kErrorSuccess;
    }
    std::set<std::string> checked;
    return CheckWithDependencies(nativePath, 0, &checked);
}

}  // namespace Platform
}  // namespace Orvik
