// The module record of an image: its section, read from the file.

#include "platform/module_record.h"

#include <cstring>

#include "platform/win32/image_section.h"

namespace Orvik {
namespace Platform {

RecordState ReadNativeModuleRecord(const char* nativePath, ModuleRecord* record)
{
    std::memset(record, 0, sizeof *record);
    unsigned char bytes[sizeof(ModuleRecord)];
    size_t size = 0;
    switch (ReadImageSection(nativePath, ORVIK_MODULE_RECORD_SECTION, bytes, sizeof bytes, &size)) {
    case SectionSearch::Found: return DecodeModuleRecord(bytes, size, record);
    case SectionSearch::NoSuchSection: return RecordState::Missing;
    case SectionSearch::NotImage: return RecordState::Unreadable;
    }
    return RecordState::Unreadable;
}

RecordState ReadModuleRecord(const char* path, ModuleRecord* record)
{
    if (path == nullptr || record == nullptr) return RecordState::Unreadable;
    return ReadNativeModuleRecord(path, record);
}

}  // namespace Platform
}  // namespace Orvik
