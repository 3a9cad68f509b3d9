#include "platform/export_names.h"

#include <windows.h>

#include <new>
#include <string>
#include <vector>

#include "platform/win32/pe_tables.h"

namespace Orvik {
namespace Platform {

bool ReadExportNames(const char* path, ExportNameSink sink, void* context)
try {
    std::vector<std::string> names;
    if (sink == nullptr || !ReadExports(path, &names)) return false;
    for (const std::string& name : names) sink(name.c_str(), context);
    return true;
} catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return false;
}

}  // namespace Platform
}  // namespace Orvik
