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

// The table keeps one reference of the loader's per module, however many
// of its own it counts: a module loaded again by a path it holds is counted
// without asking the loader, and closed with the loader when its last
// reference goes.

// Records one more reference to a module the loader has just opened from
// `path`: true when the table keeps the loader's reference, false when it
// holds the module already (the caller then gives the loader's reference
// back). A module opened again under another name keeps its first name.
// May throw std::bad_alloc, leaving the table as it was.
bool AddModuleReference(ModuleHandle module, const std::string& path);
// Counts one more reference to the module first opened from that native
// path, if the table holds one: the loader would hand out the same module
// for that name without reading the file.
bool TakeHeldPath(const std::string& path, ModuleHandle* module);
// Takes one reference away; false when the table holds none to the module.
// *last tells whether that was the last one: the caller then closes the
// module once with the loader.
bool DropModuleReference(ModuleHandle module, bool* last);
// Whether the table holds a reference to the module, and the native path it
// was first opened from.
bool FindHeldModule(ModuleHandle module, std::string* path);

// The module's exports looked up before, as the module's own table: false
// when the table holds no reference to the module; otherwise *symbol is the
// export found earlier under that name, or null when it was not asked yet.
bool FindKnownExport(ModuleHandle module, const char* name, void** symbol);
// Keeps an export of a held module found by the loader (and checked to be
// the module's own), until its last reference goes.
void RememberExport(ModuleHandle module, const char* name, void* symbol);

}  // namespace Platform
}  // namespace Orvik
