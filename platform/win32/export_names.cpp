#include "platform/export_names.h"

#include <string>
#include <vector>

#include "platform/win32/pe_tables.h"

namespace Orvik {
namespace Platform {

bool ReadExportNames(const char* path, ExportNameSink sink, void* context)
{
    std::vector<std::string> names;
    if (sink == nullptr || !ReadExports(path, &names)) return false;
    for (const std::string& name : names) sink(name.c_str(), context);
    return true;
}

}  // namespace Platform
}  // namespace Orvik
