// The record every module carries in its own section. Nothing in the module
// reads it: the section must survive the linker's removal of unreferenced
// sections and stripping, which "used" and "retain" see to on ELF; on
// Windows the entry point refers to it (module_entry.cpp).

#include "module/module_record.h"

#include "orvik/module/version.h"

#ifndef ORVIK_RECORD_BUILD_TYPE
#define ORVIK_RECORD_BUILD_TYPE "none"
#endif

#if defined(_WIN32)
#define ORVIK_RECORD_PLACEMENT __attribute__((section(ORVIK_MODULE_RECORD_SECTION), used))
#else
#define ORVIK_RECORD_PLACEMENT __attribute__((section(ORVIK_MODULE_RECORD_SECTION), used, retain))
#endif

namespace Orvik {

ORVIK_RECORD_PLACEMENT const Platform::ModuleRecord g_moduleRecord = {
    ORVIK_MODULE_RECORD_MAGIC,
    Platform::kModuleRecordLayout,
    sizeof(Platform::ModuleRecord),
    ORVIK_VERSION_MAJOR,
    ORVIK_VERSION_MINOR,
    ORVIK_VERSION_PATCH,
    ORVIK_CONTRACT_MAJOR,
    ORVIK_CONTRACT_MINOR,
    0,
    ORVIK_RECORD_ARCHITECTURE,
    ORVIK_RECORD_BUILD_TYPE,
};

}  // namespace Orvik
