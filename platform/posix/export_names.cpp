// A module's exports are the defined symbols of its dynamic table that
// other objects may bind to: global or weak, and not hidden or internal.

#include "platform/export_names.h"

#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/elf_dynamic.h"
#include "platform/posix/elf_image.h"
#include "platform/posix/elf_module.h"
#include "platform/posix/error_numbers.h"
#include "platform/posix/native_path.h"

namespace Orvik {
namespace Platform {

namespace {

bool IsExport(const ElfW(Sym)& symbol)
{
    // Absolute symbols name version nodes, not code or data.
    if (symbol.st_name == 0 || symbol.st_shndx == SHN_UNDEF || symbol.st_shndx == SHN_ABS) return false;
    const unsigned binding = symbol.st_info >> 4;
    const unsigned visibility = symbol.st_other & 0x3;
    return (binding == STB_GLOBAL || binding == STB_WEAK) &&
           (visibility == STV_DEFAULT || visibility == STV_PROTECTED);
}

// Closes the file however its reading ends.
struct ClosedAtEnd {
    int descriptor;
    ~ClosedAtEnd() { close(descriptor); }
};

bool ReadDynamic(int descriptor, ElfDynamic* dynamic)
{
    const ClosedAtEnd closed{descriptor};
    struct stat info;
    return fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode) &&
           ReadModuleImage(FileElfImage(descriptor, static_cast<uint64_t>(info.st_size)), dynamic);
}

}  // namespace

bool ReadExportNames(const char* path, ExportNameSink sink, void* context)
try {
    if (path == nullptr || sink == nullptr) return false;
    const int descriptor = open(ToNativePath(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return false;
    ElfDynamic dynamic;
    if (!ReadDynamic(descriptor, &dynamic)) return false;
    for (const ElfW(Sym)& symbol : dynamic.symbols()) {
        if (IsExport(symbol)) sink(dynamic.String(symbol.st_name).c_str(), context);
    }
    return true;
} catch (const std::bad_alloc&) {
    return OutOfMemory(false);
}

}  // namespace Platform
}  // namespace Orvik
