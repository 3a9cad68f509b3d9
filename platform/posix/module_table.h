#pragma once
// The modules the process loaded through the platform layer, with the
// references it holds to each. The table lives once per process, in the
// platform library, and tells what a handle names without asking the
// loader for the list of every loaded object: a handle it holds a reference
// to names a loaded module, whatever else the process has loaded.

#include <string>

#include "orvik/platform/module_loader.h"

namespace Orvik {
namespace Platform {

// Records one more reference to a module the loader has just opened from
// `path`. A module opened again under another name keeps its first name.
void AddModuleReference(ModuleHandle module, std::string path);
// Takes one reference away; false when the table holds none to the module.
// The caller then closes the module once with the loader.
bool DropModuleReference(ModuleHandle module);
// Whether the table holds a reference to the module, and the native path it
// was first opened from.
bool FindHeldModule(ModuleHandle module, std::string* path);

}  // namespace Platform
}  // namespace Orvik
