#include "factory/component_factory.h"

namespace Orvik {

void COrvikComponentFactory::QueryLogSetting(const char* configPath, ComponentId id, uint32_t* debugOutputMask,
                                             uint32_t* logFileMask, LogFileInfo** info)
{
    if (configPath == nullptr || configPath[0] == '\0') {
        defaultCatalog_.GetLogSetting(id, debugOutputMask, logFileMask);
    } else {
        // No catalog is made here: an unknown path leaves the caller's masks.
        auto catalog = catalogs_.find(configPath);
        if (catalog != catalogs_.end() && catalog->second) {
            catalog->second->GetLogSetting(id, debugOutputMask, logFileMask);
        }
    }
    // After shutdown began the record's lock is gone: no record is handed out.
    if (*logFileMask == 0 || !IsFactoryAlive()) {
        *info = nullptr;
        return;
    }
    // The limits always come from the default catalog.
    uint32_t maxFileCount = 0;
    defaultCatalog_.GetLogFileLimits(&maxFileCount, &logFileInfo_.maxFileSize);
    logFileInfo_.maxFileCount = maxFileCount;
    {
        std::lock_guard<std::mutex> opening(logFileOpening_);
        if (logFileInfo_.file == Platform::InvalidFileHandle()) CreateLogFile();
    }
    *info = &logFileInfo_;
}

}  // namespace Orvik
