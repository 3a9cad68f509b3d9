#include "platform/posix/module_table.h"

#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <unordered_map>
#include <utility>

#include "platform/mutex.h"
#include "platform/open_hash_map.h"

namespace Orvik {
namespace Platform {

namespace {

// The exports of a held module found before, read without the table's
// lock: every section request looks three up. A module is asked for few,
// always the same ones: a short list beats hashing the name. An entry is
// complete before the count shows it.
struct KnownExports {
    static constexpr uint32_t kMax = 8;
    struct Export {
        std::atomic<const char*> name{nullptr};
        std::atomic<void*> symbol{nullptr};
    };
    Export exports[kMax];
    std::atomic<uint32_t> count{0};
    std::unique_ptr<char[]> names[kMax];  // the names' copies, which the entries point at
};

struct HeldModule {
    std::string path;
    uint32_t references;
    std::unique_ptr<KnownExports> known;
};

struct ModuleTable {
    // Room for the modules of a typical process from the start: a process
    // that starts loads them one after the other.
    ModuleTable()
    {
        modules.reserve(64);
        paths.reserve(64);
    }

    // Never held while the loader runs a module's initialisation or
    // finalisation, which may load or free modules in turn.
    Mutex lock;
    // Hashed: every export lookup of a request asks here, and the time it
    // takes must not grow with the number of modules held.
    std::unordered_map<ModuleHandle, HeldModule> modules ORVIK_GUARDED_BY(lock);
    // The first path of each held module.
    std::unordered_map<std::string, ModuleHandle> paths ORVIK_GUARDED_BY(lock);
    // Each held module's known exports, found without the lock (changed
    // under it). A reader asks only for a module it holds a reference to,
    // whose entry therefore stays while it reads.
    TOpenHashMap<uintptr_t, KnownExports> knownByHandle;
};

uintptr_t Key(ModuleHandle module) { return reinterpret_cast<uintptr_t>(module); }

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
    // A module is recorded with all its entries or not at all (the caller
    // then gives the loader's reference back): what may need memory comes
    // first.
    table.knownByHandle.ReserveOneMore();
    auto known = std::make_unique<KnownExports>();
    KnownExports* const knownExports = known.get();
    const auto inserted = table.modules.emplace(module, HeldModule{path, 1, std::move(known)}).first;
    try {
        table.paths.emplace(inserted->second.path, module);
    } catch (const std::bad_alloc&) {
        table.modules.erase(inserted);
        throw;
    }
    table.knownByHandle.Set(Key(module), knownExports);
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
        table.knownByHandle.Set(Key(module), nullptr);
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
    const KnownExports* known = Table().knownByHandle.Find(Key(module));
    if (known == nullptr) return false;
    const uint32_t count = known->count.load(std::memory_order_acquire);
    for (uint32_t i = 0; i < count; ++i) {
        const char* knownName = known->exports[i].name.load(std::memory_order_relaxed);
        if (std::strcmp(knownName, name) == 0) {
            *symbol = known->exports[i].symbol.load(std::memory_order_relaxed);
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
    KnownExports& known = *held->second.known;
    const uint32_t count = known.count.load(std::memory_order_relaxed);
    for (uint32_t i = 0; i < count; ++i) {
        if (std::strcmp(known.exports[i].name.load(std::memory_order_relaxed), name) == 0) return;  // another thread was first
    }
    // An export that cannot be kept is looked up again next time.
    if (count == KnownExports::kMax) return;
    const size_t size = std::strlen(name) + 1;
    known.names[count].reset(new (std::nothrow) char[size]);
    if (known.names[count] == nullptr) return;
    std::memcpy(known.names[count].get(), name, size);
    known.exports[count].name.store(known.names[count].get(), std::memory_order_relaxed);
    known.exports[count].symbol.store(symbol, std::memory_order_relaxed);
    known.count.store(count + 1, std::memory_order_release);
}

}  // namespace Platform
}  // namespace Orvik
