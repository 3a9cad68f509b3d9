#include "platform/posix/elf_module.h"

#include "platform/posix/elf_layout.h"
#include "platform/posix/elf_relocations.h"

namespace Orvik {
namespace Platform {

bool ReadModuleImage(const ElfImage& image, ElfDynamic* dynamic)
{
    ElfLayout layout;
    return layout.Read(image) && dynamic->Read(image, layout) && CheckRelocations(image, layout, *dynamic);
}

}  // namespace Platform
}  // namespace Orvik
