// The module record's rules, shared by both backends; each backend finds the
// record's section in its own module format.

#include "platform/module_record.h"

#include <cstring>

namespace Orvik {
namespace Platform {

namespace {

// The record's offset of the first field a later layout may append.
constexpr size_t kLayoutOneSize = sizeof(ModuleRecord);

template <size_t N>
bool IsTerminated(const char (&text)[N])
{
    return std::memchr(text, '\0', N) != nullptr;
}

}  // namespace

RecordState DecodeModuleRecord(const void* bytes, size_t size, ModuleRecord* record)
{
    if (size < sizeof kModuleRecordMagic || std::memcmp(bytes, kModuleRecordMagic, sizeof kModuleRecordMagic) != 0) {
        return RecordState::Missing;
    }
    std::memset(record, 0, sizeof *record);
    if (size < kLayoutOneSize) return RecordState::Damaged;
    std::memcpy(record, bytes, kLayoutOneSize);
    const bool whole = record->layout >= 1 && record->size >= kLayoutOneSize && record->size <= size;
    if (!whole || !IsTerminated(record->architecture) || !IsTerminated(record->buildType)) {
        return RecordState::Damaged;
    }
    return RecordState::Found;
}

RecordFit FitOfRecord(const ModuleRecord& record)
{
    if (std::strcmp(record.architecture, ThisArchitecture()) != 0) return RecordFit::OtherArchitecture;
    // Every contract is its own: a module of an older one calls the
    // framework through another order of operations as surely as a newer.
    if (record.contractMajor != ORVIK_SERVED_CONTRACT_MAJOR || record.contractMinor != ORVIK_SERVED_CONTRACT_MINOR) {
        return RecordFit::OtherContract;
    }
    return RecordFit::Served;
}

uint32_t RecordRefusal(const char* nativePath)
{
    ModuleRecord record;
    const RecordState state = ReadNativeModuleRecord(nativePath, &record);
    return RefusalOfRecord(state, record);
}

uint32_t RefusalOfRecord(RecordState state, const ModuleRecord& record)
{
    switch (state) {
    case RecordState::Found: break;
    case RecordState::Damaged: return kErrorBadExeFormat;
    // Without a record the module loads as any module does; a file that
    // cannot be read is the loader's to report.
    case RecordState::Missing:
    case RecordState::Unreadable: return kErrorSuccess;
    }
    switch (FitOfRecord(record)) {
    case RecordFit::Served: return kErrorSuccess;
    case RecordFit::OtherContract: return kErrorRevisionMismatch;
    case RecordFit::OtherArchitecture: return kErrorBadExeFormat;
    }
    return kErrorSuccess;
}

}  // namespace Platform
}  // namespace Orvik
