// The module record in words, for load failures and tools. Kept apart from
// the check itself, which every module carries.

#include "platform/module_record.h"

#include <cstdio>

namespace Orvik {
namespace Platform {

void DescribeRecordFit(const ModuleRecord& record, char* text, size_t size)
{
    if (text == nullptr || size == 0) return;
    char framework[32];
    std::snprintf(framework, sizeof framework, "framework %u.%u.%u", record.frameworkMajor, record.frameworkMinor,
                  record.frameworkPatch);
    switch (FitOfRecord(record)) {
    case RecordFit::Served:
        std::snprintf(text, size, "built with %s, contract %u.%u, %s, %s", framework, record.contractMajor,
                      record.contractMinor, record.architecture, record.buildType);
        break;
    case RecordFit::OtherContract:
        std::snprintf(text, size, "built against contract %u.%u (%s, %s); this framework serves contract %u.%u",
                      record.contractMajor, record.contractMinor, framework, record.architecture,
                      ORVIK_SERVED_CONTRACT_MAJOR, ORVIK_SERVED_CONTRACT_MINOR);
        break;
    case RecordFit::OtherArchitecture:
        std::snprintf(text, size, "built for %s (%s, contract %u.%u); this process is %s", record.architecture,
                      framework, record.contractMajor, record.contractMinor, ThisArchitecture());
        break;
    }
}

void DescribeRecordRefusal(const char* nativePath, char* text, size_t size)
{
    if (text == nullptr || size == 0) return;
    ModuleRecord record;
    const RecordState state = ReadNativeModuleRecord(nativePath, &record);
    if (state == RecordState::Damaged) {
        std::snprintf(text, size, "%s: refused: its module record is damaged", nativePath);
        return;
    }
    char fit[256] = "its module record could not be read again";
    if (state == RecordState::Found) DescribeRecordFit(record, fit, sizeof fit);
    std::snprintf(text, size, "%s: refused before loading: %s", nativePath, fit);
}

}  // namespace Platform
}  // namespace Orvik
