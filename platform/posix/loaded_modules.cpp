#include "platform/posix/loaded_modules.h"

#include <dlfcn.h>
#include <link.h>

#include "platform/posix/executable_path.h"
#include "platform/posix/module_table.h"

namespace Orvik {
namespace Platform {

namespace {

struct ListedObject {
    std::string name;
    const void* address;  // inside the object's first loaded segment
};

int CollectObject(dl_phdr_info* info, size_t, void* objects)
{
    const void* address = nullptr;
    for (ElfW(Half) i = 0; i < info->dlpi_phnum && address == nullptr; ++i) {
        if (info->dlpi_phdr[i].p_type == PT_LOAD)
            address = reinterpret_cast<const void*>(info->dlpi_addr + info->dlpi_phdr[i].p_vaddr);
    }
    static_cast<std::vector<ListedObject>*>(objects)->push_back({info->dlpi_name ? info->dlpi_name : "", address});
    return 0;
}

}  // namespace

std::vector<LoadedModule> ListLoadedModules()
{
    // The loader's list is walked under its own lock; each object's handle is
    // then asked of the loader by an address inside it, which takes no
    // reference. An object unloaded meanwhile simply drops out.
    std::vector<ListedObject> objects;
    dl_iterate_phdr(CollectObject, &objects);

    std::vector<LoadedModule> modules;
    for (size_t i = 0; i < objects.size(); ++i) {
        const bool mainProgram = i == 0;
        if ((!mainProgram && objects[i].name.empty()) || objects[i].address == nullptr) continue;
        ModuleHandle handle = ModuleContainingAddress(objects[i].address);
        if (handle == nullptr) continue;
        if (!mainProgram && !FindHeldModule(handle, nullptr)) {
            // Only an object opened by name can have its exports looked up;
            // one loaded as another's dependency is opened (and closed) here.
            // Modules this layer opened are never: closing such a reference
            // could be the last one and run a module's exit code in whichever
            // thread merely looked.
            handle = dlopen(objects[i].name.c_str(), RTLD_LAZY | RTLD_NOLOAD);
            if (handle == nullptr) continue;  // e.g. the kernel's vdso
            dlclose(handle);
        }
        modules.push_back({handle, mainProgram ? ExecutablePath() : objects[i].name});
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
