#include "log/log_settings.h"

namespace Orvik {

void QueryLogSetting(CComponentClassInfoList* catalog, CComponentClassInfoList& defaultCatalog, ComponentId id,
                     uint32_t* debugOutputMask, uint32_t* logFileMask, LogFileInfo** info, CLogFiles& logFiles,
                     bool handOutRecord)
{
    if (catalog != nullptr) catalog->GetLogSetting(id, debugOutputMask, logFileMask);
    if (*logFileMask == 0 || !handOutRecord) {
        *info = nullptr;
        return;
    }
    uint32_t maxFileCount = 0;
    uint32_t maxFileSize = 0;
    defaultCatalog.GetLogFileLimits(&maxFileCount, &maxFileSize);
    *info = logFiles.OpenRecord(maxFileCount, maxFileSize);
}

}  // namespace Orvik
