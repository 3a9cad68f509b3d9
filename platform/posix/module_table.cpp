#include "platform/posix/module_table.h"

#include <cstring>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/mutex.h"

namespace Orvik {
namespace Platform {

namespace {

struct HeldModule {
    std::string path;
    uint32_t references;
    // A module asks for few exports, always the same ones: a short list
    // beats hashing the name.
    std::vector<std::pair<std::string, void*>> exports;
};

struct ModuleTable {
    // Never held while the loader runs a module's initialisation or
    // finalisation, which may load or free modules in turn.
    Mutex lock;
    // Hashed: every export lookup of a request asks here, and the time it
    // takes must not grow with the number of modules held.
    std::unordered_map<ModuleHandle, HeldModule> modules ORVIK_GUARDED_BY(lock);
    // The first path of each held module.
    std::unordered_map<std::string, ModuleHandle> paths ORVIK_GUARDED_BY(lock);
};

ModuleTable& Table()
{
    static ModuleTable* table = new ModuleTable;  // outlives the modules' own exit processing
    return *table;
}

}  // namespace

bool AddModuleReference(ModuleHandle module, const std::string& path)
{
    ModuleTable& table = Table();
    MutexGuard guard(table.lock);
    // A module opened again under another name only counts: its path is
    // copied the first time alone.
    const auto held = table.modules.find(module);
    if (held != table.modules.end()) {
        ++held->second.references;
        return false;
    }
    const auto inserted = table.modules.emplace(module, HeldModule{path, 1, {}}).first;
    // A module is recorded with both entries or not at all (the caller then
    // gives the loader's reference back).
    try {
        table.paths.emplace(inserted->second.path, module);
    } catch (const std::bad_alloc&) {
        table.modules.erase(inserted);
        throw;
    }
    return true;
}

bool TakeHeldPath(const std::string& path, ModuleHandle* module)
{
    ModuleTable& table = Table();
    MutexGuard guard(table.lock);
    const auto found = table.paths.find(path);
    if (found == table.paths.end()) return false;
    ++table.modules.find(found->second)->second.references;
    *module = found->second;
    return true;
}

bool DropModuleReference(ModuleHandle module, bool* last)
{
    ModuleTable& table = Table();
    MutexGuard guard(table.lock);
    const auto held = table.modules.find(module);
    if (held == table.modules.end()) return false;
    *last = --held->second.references == 0;
    if (*last) {
        const auto path = table.paths.find(held->second.path);
        if (path != table.paths.end() && path->second == module) table.paths.erase(path);
        table.modules.erase(held);
    }
    return true;
}

bool FindHeldModule(ModuleHandle module, std::string* path)
{
    ModuleTable& table = Table();
    MutexGuard guard(table.lock);
    const auto held = table.modules.find(module);
    if (held == table.modules.end()) return false;
    if (path != nullptr) *path = held->second.path;
    return true;
}

bool FindKnownExport(ModuleHandle module, const char* name, void** symbol)
{
    *symbol = nullptr;
    ModuleTable& table = Table();
    MutexGuard guard(table.lock);
    const auto held = table.modules.find(module);
    if (held == table.modules.end()) return false;
    // The names a module is asked for nearly all differ in length.
    const size_t length = std::strlen(name);
    for (const auto& known : held->second.exports) {
        if (known.first.size() == length && std::memcmp(known.first.data(), name, length) == 0) {
            *symbol = known.second;
            break;
        }
    }
    return true;
}

void RememberExport(ModuleHandle module, const char* name, void* symbol)
{
    ModuleTable& table = Table();
    MutexGuard guard(table.lock);
    const auto held = table.modules.find(module);
    if (held == table.modules.end()) return;
    for (const auto& known : held->second.exports) {
        if (std::strcmp(known.first.c_str(), name) == 0) return;  // another thread was first
    }
    // An export that cannot be kept is looked up again next time.
    try {
        held->second.exports.emplace_back(name, symbol);
    } catch (const std::bad_alloc&) {
    }
}

}  // namespace Platform
}  // namespace Orvik
