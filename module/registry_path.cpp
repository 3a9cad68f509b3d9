#include "orvik/module/registry_path.h"

#include <atomic>
#include <cstring>
#include <new>

#include "orvik/module/module_runtime.h"

namespace Orvik {

// Constant-initialised, so usable before any static constructor has run.
std::atomic<const char*> Detail::g_registryPath{""};

namespace {

// Each distinct path given is kept once; a module is given a handful.
struct KeptPath {
    KeptPath* next;
    bool allocated;
    char text[kRegistryPathSize];
};

KeptPath* g_kept = nullptr;
// The first paths are kept in the module's own storage: a module given no
// more than these needs no memory to take its path, so taking it cannot fail.
constexpr int kOwnSlots = 4;
KeptPath g_ownSlots[kOwnSlots];
int g_ownSlotsUsed = 0;

const char* Keep(const char* path)
{
    for (const KeptPath* kept = g_kept; kept != nullptr; kept = kept->next) {
        if (std::strcmp(kept->text, path) == 0) return kept->text;
    }
    const bool allocated = g_ownSlotsUsed == kOwnSlots;
    KeptPath* kept = allocated ? new (std::nothrow) KeptPath : &g_ownSlots[g_ownSlotsUsed++];
    if (kept == nullptr) return "";
    std::memcpy(kept->text, path, std::strlen(path) + 1);
    kept->allocated = allocated;
    kept->next = g_kept;
    g_kept = kept;
    return kept->text;
}

}  // namespace

void StoreRegistryPath(const char* path)
{
    const bool fits = path != nullptr && std::strlen(path) < static_cast<size_t>(kRegistryPathSize);
    Detail::g_registryPath.store(fits && path[0] != '\0' ? Keep(path) : "", std::memory_order_release);
}

void ForgetRegistryPaths()
{
    Detail::g_registryPath.store("", std::memory_order_release);
    while (KeptPath* kept = g_kept) {
        g_kept = kept->next;
        if (kept->allocated) delete kept;
    }
    g_ownSlotsUsed = 0;
}

}  // namespace Orvik
