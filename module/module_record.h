#pragma once
// This module's record, which the loader reads from the file (see
// platform/module_record.h).

#include "platform/module_record.h"

namespace Orvik {

extern const Platform::ModuleRecord g_moduleRecord;

}  // namespace Orvik
