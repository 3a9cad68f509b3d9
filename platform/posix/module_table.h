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
// May throw std::bad_alloc, leaving the table as it was.
void AddModuleReference(ModuleHandle module, const std::string& path);
// Takes one reference away; false when the table holds none to the module.
// The caller then closes the module once with the loader.
bool DropModuleReference(ModuleHandle module);
// Whether the table holds a reference to the module, and the native path it
// was first opened from.
bool FindHeldModule(ModuleHandle module, std::string* path);
// Whether the table holds a module first opened from that native path: the
// loader hands it out again by that name without reading the file.
bool IsHeldPath(const std::string& path);

// The module's exports looked up before, as the module's own table: false
// when the table holds no reference to the module; otherwise *symbol is the
// export found earlier under that name, or null when it was not asked yet.
bool FindKnownExport(ModuleHandle module, const char* name, void** symbol);
// Keeps an export of a held module found by the loader (and checked to be
// the module's own), until its last reference goes.
void RememberExport(ModuleHandle module, const char* name, void* symbol);

}  // namespace Platform
}  // namespace Orvik
