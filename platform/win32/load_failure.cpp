// The last failed load of each thread, shared by every module of the
// process: each module carries its own copy of this layer, so the record
// lives in one thread-local slot that all copies find through a small
// mapping named after the process.

#include <windows.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "platform/win32/load_failure_note.h"
#include "platform/win32/missing_import.h"
#include "platform/win32/record_check.h"
#include "platform/module_record.h"

namespace Orvik {
namespace Platform {

namespace {

constexpr DWORD kNoSlot = TLS_OUT_OF_INDEXES;

DWORD OpenSharedSlot()
{
    // The version in the name keeps copies with another record layout apart.
    char name[64];
    std::snprintf(name, sizeof name, "Local\\Orvik.LoadFailure.1.%lu", GetCurrentProcessId());
    // Never closed: the slot must outlive any one module.
    HANDLE mapping = CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(LONG), name);
    if (mapping == nullptr) return kNoSlot;
    auto* shared = static_cast<volatile LONG*>(MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(LONG)));
    if (shared == nullptr) return kNoSlot;
    // The mapping starts zeroed; it holds the slot plus one once set.
    if (*shared == 0) {
        const DWORD mine = TlsAlloc();
        if (mine != TLS_OUT_OF_INDEXES &&
            InterlockedCompareExchange(shared, static_cast<LONG>(mine) + 1, 0) != 0) {
            TlsFree(mine);
        }
    }
    return *shared == 0 ? kNoSlot : static_cast<DWORD>(*shared - 1);
}

DWORD SharedSlot()
{
    static const DWORD slot = OpenSharedSlot();
    return slot;
}

// The calling thread's record; made on the process heap, which every module
// shares, at the first failure. It stays with the process.
LoadFailure* ThreadRecord(bool create)
{
    const DWORD slot = SharedSlot();
    if (slot == kNoSlot) return nullptr;
    auto* record = static_cast<LoadFailure*>(TlsGetValue(slot));
    if (record == nullptr && create) {
        record = static_cast<LoadFailure*>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, sizeof(LoadFailure)));
        if (record != nullptr) TlsSetValue(slot, record);
    }
    return record;
}

template <size_t N>
void CopyBounded(char (&destination)[N], const std::string& source)
{
    const size_t length = source.size() < N ? source.size() : N - 1;
    std::memcpy(destination, source.data(), length);
    destination[length] = '\0';
}

// The system's text for the error, on one line, with the module's path in
// place of its insert.
std::string SystemText(DWORD code, const char* path)
{
    char buffer[kLoadFailureTextSize] = {};
    const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                                        buffer, sizeof buffer, nullptr);
    std::string text(buffer, length);
    while (!text.empty() && (text.back() == '\r' || text.back() == '\n' || text.back() == ' ')) text.pop_back();
    for (char& c : text) {
        if (c == '\r' || c == '\n') c = ' ';
    }
    const size_t insert = text.find("%1");
    if (insert != std::string::npos) text.replace(insert, 2, path);
    if (text.empty()) text = "error " + std::to_string(code);
    return text;
}

// A module refused for its record is described by the record; the loader's
// own refusals in the system's words.
std::string FailureText(DWORD code, const char* path)
{
    if ((code == kErrorRevisionMismatch || code == kErrorBadExeFormat) && CheckRecordBeforeLoad(path) == code) {
        char text[kLoadFailureTextSize];
        DescribeRecordRefusal(ModuleFileToLoad(path).c_str(), text, sizeof text);
        return text;
    }
    return SystemText(code, path);
}

}  // namespace

void NoteLoadFailure(const char* path)
{
    const DWORD code = GetLastError();
    LoadFailure* failure = ThreadRecord(true);
    if (failure != nullptr) {
        const char* asked = path != nullptr ? path : "";
        const MissingImport missing = FindMissingImport(asked, code);
        ++failure->count;
        failure->code = code;
        CopyBounded(failure->path, asked);
        CopyBounded(failure->text, FailureText(code, asked));
        CopyBounded(failure->missingModule, missing.module);
        CopyBounded(failure->missingSymbol, missing.procedure);
    }
    SetLastError(code);
}

bool GetLastLoadFailure(LoadFailure* failure)
{
    if (failure == nullptr) return false;
    const DWORD code = GetLastError();
    const LoadFailure* record = ThreadRecord(false);
    if (record != nullptr) {
        *failure = *record;
    } else {
        std::memset(failure, 0, sizeof *failure);
    }
    SetLastError(code);
    return failure->count != 0;
}

bool FindUnresolvedImport(const char* path, char* symbol, uint32_t size)
{
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
}

}  // namespace Platform
}  // namespace Orvik
