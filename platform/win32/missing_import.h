#pragma once
// What a module that failed to load lacks: the first imported module that
// the loader cannot find, or the first imported procedure that its module
// does not export, looking through the module's imports and theirs.

#include <string>

namespace Orvik {
namespace Platform {

struct MissingImport {
    std::string module;     // a dependency not found (for error 126)
    std::string procedure;  // a procedure not exported (for error 127)
};

// path as given to LoadLibraryA, code the error it gave; empty fields when
// the cause is not found among the imports (or the file itself is missing).
MissingImport FindMissingImport(const char* path, unsigned long code);

}  // namespace Platform
}  // namespace Orvik
