#pragma once
// One named section of a module file, found through the file's headers
// alone. Every module checks the file it is about to load this way, so the
// reader allocates nothing and reads only the few bytes it needs.

#include <cstddef>

namespace Orvik {
namespace Platform {

enum class SectionSearch { Found, NoSuchSection, NotImage };

// The first section called name (at most 8 characters) of the image at
// path: its size in the file, and its first bytes, at most capacity of
// them, in out. NotImage when the file cannot be read or is no image of
// either word size; NoSuchSection also for a section whose first bytes lie
// outside the file.
SectionSearch ReadImageSection(const char* path, const char* name, void* out, size_t capacity, size_t* size);

}  // namespace Platform
}  // namespace Orvik
