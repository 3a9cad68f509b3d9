#include "platform/posix/loaded_modules.h"

#include <dlfcn.h>
#include <link.h>

#include <new>

#include "platform/posix/executable_path.h"

namespace Orvik {
namespace Platform {

namespace {

struct ListedObject {
    std::string name;
    const void* address;  // inside the object's first loaded segment
};

// The loader writes an object's name when another thread loads it, under
// the loader's own lock, which the thread sanitizer cannot see. Its
// interceptor of the walk clears the name's bytes of that write, but not the
// terminator, so finding the terminator would be reported as a race. The
// length is found here outside the sanitizer's view (volatile, so that the
// loop is not turned back into a call of strlen); the name's bytes are then
// copied as usual.
[[gnu::no_sanitize_thread]] size_t NameLength(const char* name)
{
    const volatile char* byte = name;
    size_t length = 0;
    while (byte[length] != '\0') ++length;
    return length;
}

struct Collected {
    std::vector<ListedObject> objects;
    bool complete = true;
};

// Runs inside the loader's walk, under its lock: nothing may leave it but
// its result, so a failed allocation ends the walk.
int CollectObject(dl_phdr_info* info, size_t, void* collected)
{
    const void* address = nullptr;
    for (ElfW(Half) i = 0; i < info->dlpi_phnum && address == nullptr; ++i) {
        if (info->dlpi_phdr[i].p_type == PT_LOAD)
            address = reinterpret_cast<const void*>(info->dlpi_addr + info->dlpi_phdr[i].p_vaddr);
    }
    const char* name = info->dlpi_name != nullptr ? info->dlpi_name : "";
    auto& list = *static_cast<Collected*>(collected);
    try {
        list.objects.push_back({std::string(name, NameLength(name)), address});
        return 0;
    } catch (const std::bad_alloc&) {
        list.complete = false;
        return 1;
    }
}

}  // namespace

std::vector<LoadedModule> ListLoadedModules()
{
    // The loader's list is walked under its own lock; each object's handle is
    // then asked of the loader by an address inside it. No reference is taken
    // to any object: closing it again could be the last reference, and run a
    // module's exit code in whichever thread merely looked while another
    // thread's release had already returned. An object unloaded meanwhile
    // simply drops out.
    Collected collected;
    dl_iterate_phdr(CollectObject, &collected);
    if (!collected.complete) throw std::bad_alloc();
    const std::vector<ListedObject>& objects = collected.objects;

    std::vector<LoadedModule> modules;
    for (size_t i = 0; i < objects.size(); ++i) {
        const bool mainProgram = i == 0;
        // Objects loaded from a file are named by their path; the kernel's
        // vdso, which is none, by a bare name.
        if (!mainProgram && objects[i].name.find('/') == std::string::npos) continue;
        if (objects[i].address == nullptr) continue;
        const ModuleHandle handle = ModuleHolding(objects[i].address);
        if (handle == nullptr) continue;
        modules.push_back({handle, mainProgram ? ExecutablePath() : objects[i].name});
    }
    return modules;
}

ModuleHandle ModuleHolding(const void* address)
{
#if defined(DLFO_STRUCT_HAS_EH_DBASE)
    // The loader's sorted table of mappings answers without walking every
    // loaded object.
    dl_find_object found;
    if (_dl_find_object(const_cast<void*>(address), &found) == 0) return found.dlfo_link_map;
#endif
    Dl_info info;
    link_map* module = nullptr;
    if (dladdr1(address, &info, reinterpret_cast<void**>(&module), RTLD_DL_LINKMAP) == 0) return nullptr;
    // The loader's handle of a module is its link map.
    return module;
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
