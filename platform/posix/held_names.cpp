#include "platform/posix/held_names.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <cstddef>
#include <new>
#include <vector>

#include "platform/mutex.h"

namespace Orvik {
namespace Platform {

unsigned long long LoaderUnloads()
{
    unsigned long long unloads = 0;
    dl_iterate_phdr(
        [](dl_phdr_info* info, size_t size, void* out) {
            if (size >= offsetof(dl_phdr_info, dlpi_subs) + sizeof info->dlpi_subs) {
                *static_cast<unsigned long long*>(out) = info->dlpi_subs;
            }
            return 1;  // the first object tells
        },
        &unloads);
    return unloads;
}

namespace {

// The names found loaded since the loader last unloaded a module.
struct KnownNames {
    Mutex lock;
    unsigned long long unloads ORVIK_GUARDED_BY(lock) = 0;
    std::vector<std::string> names ORVIK_GUARDED_BY(lock);
};

KnownNames& Known()
{
    static KnownNames* known = new KnownNames;  // used until the process ends
    return *known;
}

}  // namespace

bool IsLoadedByName(const std::string& name, unsigned long long unloads)
{
    KnownNames& known = Known();
    {
        MutexGuard guard(known.lock);
        if (known.unloads != unloads) {
            known.names.clear();
            known.unloads = unloads;
        }
        if (std::find(known.names.begin(), known.names.end(), name) != known.names.end()) return true;
    }
    void* loaded = dlopen(name.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (loaded == nullptr) return false;
    dlclose(loaded);
    MutexGuard guard(known.lock);
    // A name that cannot be kept is asked of the loader again next time.
    try {
        if (known.unloads == unloads) known.names.push_back(name);
    } catch (const std::bad_alloc&) {
    }
    return true;
}

}  // namespace Platform
}  // namespace Orvik
