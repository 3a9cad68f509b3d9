#include "platform/posix/elf_module.h"

#include "platform/posix/elf_layout.h"
#include "platform/posix/elf_relocations.h"

namespace Orvik {
namespace Platform {

bool ReadModuleImage(const ElfImage& image, ElfDynamic* dynamic, const char** refusal)
{
    const char* reason = nullptr;
    ElfLayout layout;
    bool loadable = false;
    if (!layout.Read(image)) {
        reason = layout.refusal();
    } else if (!dynamic->Read(image, layout)) {
        reason = dynamic->refusal();
    } else {
        loadable = CheckRelocations(image, layout, *dynamic, &reason);
    }
    if (refusal != nullptr) *refusal = loadable ? nullptr : reason;
    return loadable;
}

}  // namespace Platform
}  // namespace Orvik
