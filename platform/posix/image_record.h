#pragma once
// The module record of an ELF image already open for reading: the file
// check reads it from the blocks it has read anyway.

#include "platform/module_record.h"
#include "platform/posix/elf_image.h"

namespace Orvik {
namespace Platform {

// The record of the image, from its record section.
RecordState ReadImageModuleRecord(const ElfImage& image, ModuleRecord* record);

}  // namespace Platform
}  // namespace Orvik
