#pragma once
// The whole check of one module image: its layout, its dynamic tables and
// its relocations.

#include "platform/posix/elf_dynamic.h"
#include "platform/posix/elf_image.h"

namespace Orvik {
namespace Platform {

// Whether the loader can map the image and apply its tables without
// leaving them; dynamic holds what the image's dynamic section says. When
// not, refusal (if given) receives a fixed text saying why.
bool ReadModuleImage(const ElfImage& image, ElfDynamic* dynamic, const char** refusal = nullptr);

inline bool IsLoadableModuleImage(const ElfImage& image)
{
    ElfDynamic dynamic;
    return ReadModuleImage(image, &dynamic);
}

}  // namespace Platform
}  // namespace Orvik
