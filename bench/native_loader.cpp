#include "bench/native_loader.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace Orvik::Bench::Native {

#if defined(_WIN32)
Module Open(const char* nativePath) { return reinterpret_cast<Module>(LoadLibraryA(nativePath)); }
Function Symbol(Module module, const char* name)
{
    return reinterpret_cast<Function>(GetProcAddress(static_cast<HMODULE>(module), name));
}
void Close(Module module) { FreeLibrary(static_cast<HMODULE>(module)); }
#else
// As the platform layer opens modules.
Module Open(const char* nativePath) { return dlopen(nativePath, RTLD_NOW | RTLD_LOCAL); }
Function Symbol(Module module, const char* name) { return reinterpret_cast<Function>(dlsym(module, name)); }
void Close(Module module) { dlclose(module); }
#endif

}  // namespace Orvik::Bench::Native
