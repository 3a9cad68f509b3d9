#pragma once
// The check of a module's record before LoadLibraryA sees the file, which
// runs the module's code as it loads it. Every module carries this check:
// it allocates nothing that could fail it, and keeps each module small.

#include <windows.h>

#include <cstdint>

namespace Orvik {
namespace Platform {

// What loading path must fail with because of the record of the file the
// loader would take (kErrorSuccess when none stands in the way). A module
// loaded already is not checked: loading it again runs none of its code.
// Each file is read once while its size and time of writing stay.
uint32_t CheckRecordBeforeLoad(const char* path);

// The file the loader would take for path, in file; false when there is
// none. A name without a separator is searched for as the loader does (the
// program's directory first), with ".dll" appended to a name without an
// extension. (The loader looks in the system's directories before the
// current one; this search looks after it.)
bool ModuleFileToLoad(const char* path, char (&file)[MAX_PATH]);

}  // namespace Platform
}  // namespace Orvik
