#pragma once
// The import and export tables of a module file, read from the file itself,
// without loading it.

#include <string>
#include <vector>

namespace Orvik {
namespace Platform {

struct ImportedModule {
    std::string name;
    // Procedures imported by name; those imported by ordinal are left out.
    std::vector<std::string> procedures;
};

// The modules and procedures the file imports, in table order; false when
// the file cannot be read or is no image with an import table in bounds.
bool ReadImports(const char* path, std::vector<ImportedModule>* imports);

// The names the file exports; false when the file cannot be read or is no
// image (an image without exports has none).
bool ReadExports(const char* path, std::vector<std::string>* names);

}  // namespace Platform
}  // namespace Orvik
