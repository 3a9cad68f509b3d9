#pragma once
// A named section of an ELF file, found through its section headers. Both
// classes are read, so a tool also finds the section in a module of the
// other word size.

#include <cstddef>
#include <cstdint>

#include "platform/posix/elf_image.h"

namespace Orvik {
namespace Platform {

enum class SectionSearch { Found, NoSuchSection, NotElf };

// The first section called name: its size, and its first bytes, at most
// capacity of them, in out. NotElf when the image is no little-endian ELF
// file or its section headers do not fit it. Nothing is allocated.
SectionSearch ReadElfSection(const ElfImage& image, const char* name, void* out, size_t capacity, uint64_t* size);

}  // namespace Platform
}  // namespace Orvik
