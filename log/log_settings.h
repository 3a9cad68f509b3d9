#pragma once
// How one component should log: its masks from the catalog of its
// configuration, and the log-file record when it logs to a file.

#include "catalog/component_class_info_list.h"
#include "log/log_files.h"

namespace Orvik {

// catalog is the catalog of the component's configuration path; null when
// that path has none yet, which leaves the caller's masks as they are. The
// file limits always come from defaultCatalog. *info becomes the record when
// the file mask is not empty and handOutRecord is set, else null.
void QueryLogSetting(CComponentClassInfoList* catalog, CComponentClassInfoList& defaultCatalog, ComponentId id,
                     uint32_t* debugOutputMask, uint32_t* logFileMask, LogFileInfo** info, CLogFiles& logFiles,
                     bool handOutRecord);

}  // namespace Orvik
