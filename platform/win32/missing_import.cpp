// Walks the import tables as the loader would, from the files alone: a
// dependency already loaded is asked through its handle, any other is read
// from the file the search order finds. Nothing is loaded, so no module's
// code runs and no half-loaded module is left for another thread to find.

#include "platform/win32/missing_import.h"

#include <windows.h>

#include <algorithm>
#include <cctype>
#include <vector>

#include "orvik/platform/platform_api.h"
#include "platform/win32/pe_tables.h"

namespace Orvik {
namespace Platform {

namespace {

// How deep into the dependencies' own imports the search goes.
constexpr int kMaxDepth = 4;

// API sets name no file: the system maps them to modules of its own.
bool IsApiSet(std::string name)
{
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
    return name.rfind("api-ms-", 0) == 0 || name.rfind("ext-ms-", 0) == 0;
}

// Where the loader takes a dependency from: the module of that name already
// loaded, else the file that the search order finds.
struct Dependency {
    HMODULE loaded = nullptr;
    std::string file;
};

bool Locate(const std::string& name, Dependency* dependency)
{
    dependency->loaded = GetModuleHandleA(name.c_str());
    if (dependency->loaded != nullptr) return true;
    char found[MAX_PATH] = {};
    const DWORD length = SearchPathA(nullptr, name.c_str(), nullptr, sizeof found, found, nullptr);
    if (length == 0 || length >= sizeof found) return false;
    dependency->file = found;
    return true;
}

// The first procedure of the list that the dependency does not export.
std::string FirstMissingProcedure(const Dependency& dependency, const std::vector<std::string>& procedures)
{
    std::vector<std::string> exports;
    if (dependency.loaded == nullptr && !ReadExports(dependency.file.c_str(), &exports)) return std::string();
    for (const std::string& procedure : procedures) {
        const bool present = dependency.loaded != nullptr
                                 ? GetProcAddress(dependency.loaded, procedure.c_str()) != nullptr
                                 : std::find(exports.begin(), exports.end(), procedure) != exports.end();
        if (!present) return procedure;
    }
    return std::string();
}

bool Search(const std::string& file, DWORD code, int depth, std::vector<std::string>* visited, MissingImport* missing)
{
    if (depth > kMaxDepth || std::find(visited->begin(), visited->end(), file) != visited->end()) return false;
    visited->push_back(file);
    std::vector<ImportedModule> imports;
    if (!ReadImports(file.c_str(), &imports)) return false;
    // Modules loaded before had their own imports resolved; only the others
    // can hide the cause deeper down.
    std::vector<std::string> unloaded;
    for (const ImportedModule& imported : imports) {
        if (IsApiSet(imported.name)) continue;
        Dependency dependency;
        if (!Locate(imported.name, &dependency)) {
            missing->module = imported.name;
            return true;
        }
        if (code == kErrorProcedureNotFound) {
            missing->procedure = FirstMissingProcedure(dependency, imported.procedures);
            if (!missing->procedure.empty()) return true;
        }
        if (dependency.loaded == nullptr) unloaded.push_back(dependency.file);
    }
    for (const std::string& dependencyFile : unloaded) {
        if (Search(dependencyFile, code, depth + 1, visited, missing)) return true;
    }
    return false;
}

}  // namespace

MissingImport FindMissingImport(const char* path, unsigned long code)
{
    MissingImport missing;
    if (code != kErrorModuleNotFound && code != kErrorProcedureNotFound) return missing;
    // The file LoadLibraryA would open for path.
    char file[MAX_PATH] = {};
    const DWORD length = SearchPathA(nullptr, path, ".dll", sizeof file, file, nullptr);
    std::vector<std::string> visited;
    if (length > 0 && length < sizeof file) Search(file, code, 0, &visited, &missing);
    return missing;
}

}  // namespace Platform
}  // namespace Orvik
