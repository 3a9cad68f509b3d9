#pragma once
// The relocations a module's loading applies and the functions it calls:
// every write lands in the module's writable memory, clear of the tables
// the loader reads meanwhile; every symbol index names a symbol; every
// initialiser and finaliser is code of the module.

#include "platform/posix/elf_dynamic.h"
#include "platform/posix/elf_image.h"
#include "platform/posix/elf_layout.h"

namespace Orvik {
namespace Platform {

// Takes in the symbols that relocations name beyond those dynamic holds.
// False, with a fixed text saying why in *refusal, when the loader would
// write or call outside the module.
bool CheckRelocations(const ElfImage& image, const ElfLayout& layout, ElfDynamic& dynamic, const char** refusal);

}  // namespace Platform
}  // namespace Orvik
