// The module record of an ELF module: its section, read from the file.

#include "platform/module_record.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "platform/posix/elf_image.h"
#include "platform/posix/elf_sections.h"
#include "platform/posix/image_record.h"
#include "platform/posix/native_path.h"

namespace Orvik {
namespace Platform {

RecordState ReadImageModuleRecord(const ElfImage& image, ModuleRecord* record)
{
    std::memset(record, 0, sizeof *record);
    unsigned char bytes[sizeof(ModuleRecord)];
    uint64_t size = 0;
    switch (ReadElfSection(image, ORVIK_MODULE_RECORD_SECTION, bytes, sizeof bytes, &size)) {
    case SectionSearch::Found: return DecodeModuleRecord(bytes, static_cast<size_t>(size), record);
    case SectionSearch::NoSuchSection: return RecordState::Missing;
    case SectionSearch::NotElf: return RecordState::Unreadable;
    }
    return RecordState::Unreadable;
}

RecordState ReadNativeModuleRecord(const char* nativePath, ModuleRecord* record)
{
    std::memset(record, 0, sizeof *record);
    // Opened without waiting, as a FIFO would; only a regular file is read.
    const int descriptor = open(nativePath, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return RecordState::Unreadable;
    struct stat info;
    RecordState state = RecordState::Unreadable;
    if (fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode)) {
        // Read in blocks, each once: the search reads each section's header
        // and name, and a read of its own for each would cost a call of the
        // system apiece. The blocks take memory; without it the caller
        // hears of that, and the file is closed all the same.
        try {
            state = ReadImageModuleRecord(FileElfImage(descriptor, static_cast<uint64_t>(info.st_size)), record);
        } catch (const std::bad_alloc&) {
            close(descriptor);
            throw;
        }
    }
    close(descriptor);
    return state;
}

RecordState ReadModuleRecord(const char* path, ModuleRecord* record)
try {
    if (path == nullptr || record == nullptr) return RecordState::Unreadable;
    return ReadNativeModuleRecord(ToNativePath(path).c_str(), record);
} catch (const std::bad_alloc&) {
    // The path's native form could not be made: no file was read.
    return RecordState::Unreadable;
}

}  // namespace Platform
}  // namespace Orvik
