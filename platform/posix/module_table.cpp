#include "platform/posix/module_table.h"

#include <mutex>
#include <unordered_map>

namespace Orvik {
namespace Platform {

namespace {

struct HeldModule {
    std::string path;
    uint32_t references;
};

struct ModuleTable {
    // Never held while the loader runs a module's initialisation or
    // finalisation, which may load or free modules in turn.
    std::mutex lock;
    std::unordered_map<ModuleHandle, HeldModule> modules;
};

ModuleTable& Table()
{
    static ModuleTable* table = new ModuleTable;  // outlives the modules' own exit processing
    return *table;
}

}  // namespace

void AddModuleReference(ModuleHandle module, std::string path)
{
    ModuleTable& table = Table();
    std::lock_guard<std::mutex> guard(table.lock);
    auto inserted = table.modules.try_emplace(module, HeldModule{std::move(path), 0});
    ++inserted.first->second.references;
}

bool DropModuleReference(ModuleHandle module)
{
    ModuleTable& table = Table();
    std::lock_guard<std::mutex> guard(table.lock);
    const auto held = table.modules.find(module);
    if (held == table.modules.end()) return false;
    if (--held->second.references == 0) table.modules.erase(held);
    return true;
}

bool FindHeldModule(ModuleHandle module, std::string* path)
{
    ModuleTable& table = Table();
    std::lock_guard<std::mutex> guard(table.lock);
    const auto held = table.modules.find(module);
    if (held == table.modules.end()) return false;
    if (path != nullptr) *path = held->second.path;
    return true;
}

}  // namespace Platform
}  // namespace Orvik
