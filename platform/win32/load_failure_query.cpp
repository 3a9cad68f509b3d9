// What tools and hosts ask about failed loads. Kept apart from the record's
// making, which every module carries.

#include <windows.h>

#include <cstring>
#include <new>
#include <string>

#include "platform/win32/load_failure_note.h"
#include "platform/win32/missing_import.h"
#include "platform/win32/record_check.h"
#include "platform/module_record.h"

namespace Orvik {
namespace Platform {

namespace {

// A module refused for its record is described by the record, in the words
// of this framework; the record is read again from the file.
void DescribeRefusalBeforeLoad(LoadFailure* failure)
{
    const bool byRecord = failure->code == kErrorRevisionMismatch || failure->code == kErrorBadExeFormat;
    char file[MAX_PATH];
    if (failure->text[0] != '\0' || !byRecord || CheckRecordBeforeLoad(failure->path) != failure->code ||
        !ModuleFileToLoad(failure->path, file)) {
        return;
    }
    DescribeRecordRefusal(file, failure->text, sizeof failure->text);
}

}  // namespace

bool GetLastLoadFailure(LoadFailure* failure)
{
    if (failure == nullptr) return false;
    const DWORD code = GetLastError();
    const LoadFailure* record = ThreadLoadFailure(false);
    if (record != nullptr) {
        *failure = *record;
        DescribeRefusalBeforeLoad(failure);
    } else {
        std::memset(failure, 0, sizeof *failure);
    }
    SetLastError(code);
    return failure->count != 0;
}

bool FindUnresolvedImport(const char* path, char* symbol, uint32_t size)
try {
    if (symbol == nullptr || size == 0) return false;
    const DWORD code = GetLastError();
    const std::string missing = path != nullptr ? FindMissingImport(path, kErrorProcedureNotFound).procedure : "";
    SetLastError(code);
    if (missing.empty() || missing.size() >= size) {
        symbol[0] = '\0';
        return false;
    }
    missing.copy(symbol, missing.size());
    symbol[missing.size()] = '\0';
    return true;
} catch (const std::bad_alloc&) {
    symbol[0] = '\0';
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return false;
}

}  // namespace Platform
}  // namespace Orvik
