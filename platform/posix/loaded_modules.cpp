#include "platform/posix/loaded_modules.h"

#include <dlfcn.h>
#include <link.h>

#include "platform/posix/executable_path.h"

namespace Orvik {
namespace Platform {

namespace {

int CollectName(dl_phdr_info* info, size_t, void* names)
{
    static_cast<std::vector<std::string>*>(names)->emplace_back(info->dlpi_name ? info->dlpi_name : "");
    return 0;
}

}  // namespace

std::vector<LoadedModule> ListLoadedModules()
{
    // The loader's list is walked under its own lock; the handles are then
    // asked of the loader by name, which adds no lasting reference. A module
    // unloaded meanwhile simply drops out.
    std::vector<std::string> names;
    dl_iterate_phdr(CollectName, &names);

    std::vector<LoadedModule> modules;
    for (size_t i = 0; i < names.size(); ++i) {
        const bool mainProgram = i == 0;
        if (!mainProgram && names[i].empty()) continue;
        void* handle = dlopen(mainProgram ? nullptr : names[i].c_str(), RTLD_LAZY | RTLD_NOLOAD);
        if (handle == nullptr) continue;  // e.g. the kernel's vdso
        dlclose(handle);
        modules.push_back({handle, mainProgram ? ExecutablePath() : names[i]});
    }
    return modules;
}

bool FindModuleByHandle(ModuleHandle handle, LoadedModule* found)
{
    if (handle == nullptr || handle == InvalidModule()) return false;
    for (LoadedModule& module : ListLoadedModules()) {
        if (module.handle == handle) {
            *found = std::move(module);
            return true;
        }
    }
    return false;
}

}  // namespace Platform
}  // namespace Orvik
