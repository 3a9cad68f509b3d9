// The module record of an ELF module: its section, read from the file.

#include "platform/module_record.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include "platform/posix/elf_image.h"
#include "platform/posix/elf_sections.h"
#include "platform/posix/native_path.h"

namespace Orvik {
namespace Platform {

RecordState ReadNativeModuleRecord(const char* nativePath, ModuleRecord* record)
{
    std::memset(record, 0, sizeof *record);
    // Opened without waiting, as a FIFO would; only a regular file is read.
    const int descriptor = open(nativePath, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return RecordState::Unreadable;
    struct stat info;
    SectionSearch search = SectionSearch::NotElf;
    std::vector<unsigned char> bytes;
    if (fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode)) {
        search = ReadElfSection(FileElfImage(descriptor, static_cast<uint64_t>(info.st_size)),
                                ORVIK_MODULE_RECORD_SECTION, &bytes);
    }
    close(descriptor);
    switch (search) {
    case SectionSearch::Found: return DecodeModuleRecord(bytes.data(), bytes.size(), record);
    case SectionSearch::NoSuchSection: return RecordState::Missing;
    case SectionSearch::NotElf: return RecordState::Unreadable;
    }
    return RecordState::Unreadable;
}

RecordState ReadModuleRecord(const char* path, ModuleRecord* record)
{
    if (path == nullptr || record == nullptr) return RecordState::Unreadable;
    return ReadNativeModuleRecord(ToNativePath(path).c_str(), record);
}

}  // namespace Platform
}  // namespace Orvik
