#pragma once
// The modules loaded in the process, as the dynamic loader lists them.

#include <string>
#include <vector>

#include "orvik/platform/module_loader.h"

namespace Orvik {
namespace Platform {

struct LoadedModule {
    ModuleHandle handle;
    std::string path;  // native, absolute for modules loaded by path
};

// A snapshot of the loaded modules; the main program comes first with its
// executable's path.
std::vector<LoadedModule> ListLoadedModules();

// The module whose mappings hold the address, or null; unlike
// ModuleContainingAddress it leaves the last error alone, so that lookups
// built on it do not touch it when they succeed.
ModuleHandle ModuleHolding(const void* address);

// The loaded module with that handle; false when the handle names none
// (never dereferences the handle).
bool FindModuleByHandle(ModuleHandle handle, LoadedModule* found);

}  // namespace Platform
}  // namespace Orvik
