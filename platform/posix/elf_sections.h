#pragma once
// A named section of an ELF file, found through its section headers. Both
// classes are read, so a tool also finds the section in a module of the
// other word size.

#include <string>
#include <vector>

#include "platform/posix/elf_image.h"

namespace Orvik {
namespace Platform {

enum class SectionSearch { Found, NoSuchSection, NotElf };

// The contents of the first section called name; NotElf when the image is
// no little-endian ELF file or its section headers do not fit it.
SectionSearch ReadElfSection(const ElfImage& image, const std::string& name, std::vector<unsigned char>* bytes);

}  // namespace Platform
}  // namespace Orvik
