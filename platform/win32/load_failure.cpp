// The last failed load of each thread, shared by every module of the
// process: each module carries its own copy of this layer, so the record
// lives in one thread-local slot that all copies find through a small
// mapping named after the process.

#include <windows.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "platform/win32/load_failure_note.h"
#include "platform/win32/missing_import.h"

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
    if (shared == nullptr) {
        CloseHandle(mapping);
        return kNoSlot;
    }
    // The mapping starts zeroed; it holds the slot plus one once set.
    if (*shared == 0) {
        const DWORD mine = TlsAlloc();
        if (mine != TLS_OUT_OF_INDEXES &&
            InterlockedCompareExchange(shared, static_cast<LONG>(mine) + 1, 0) != 0) {
            TlsFree(mine);
        }
    }
    if (*shared != 0) return static_cast<DWORD>(*shared - 1);
    // Asked for again at the next failed load.
    UnmapViewOfFile(const_cast<LONG*>(shared));
    CloseHandle(mapping);
    return kNoSlot;
}

DWORD SharedSlot()
{
    // Kept once had; a slot the system could not give now is asked for again.
    static std::atomic<DWORD> slot{kNoSlot};
    DWORD known = slot.load(std::memory_order_acquire);
    if (known == kNoSlot) {
        known = OpenSharedSlot();
        if (known != kNoSlot) slot.store(known, std::memory_order_release);
    }
    return known;
}

template <size_t N>
void CopyBounded(char (&destination)[N], std::string_view source)
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

// The calling thread's record, started for a failure to load path.
LoadFailure* StartRecord(const char* path, DWORD code)
{
    LoadFailure* failure = ThreadLoadFailure(true);
    if (failure != nullptr) {
        ++failure->count;
        failure->code = code;
        CopyBounded(failure->path, path != nullptr ? path : "");
        failure->text[0] = failure->missingModule[0] = failure->missingSymbol[0] = '\0';
    }
    return failure;
}

}  // namespace

LoadFailure* ThreadLoadFailure(bool create)
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

void NoteLoadFailure(const char* path)
{
    const DWORD code = GetLastError();
    const char* asked = path != nullptr ? path : "";
    if (LoadFailure* failure = StartRecord(asked, code)) {
        try {
            const MissingImport missing = FindMissingImport(asked, code);
            CopyBounded(failure->text, SystemText(code, asked));
            CopyBounded(failure->missingModule, missing.module);
            CopyBounded(failure->missingSymbol, missing.procedure);
        } catch (const std::bad_alloc&) {
            // The loader's words are lost; the number and the path stay.
        }
    }
    SetLastError(code);
}

void NoteRecordRefusal(const char* path, uint32_t code)
{
    StartRecord(path, code);
    SetLastError(code);
}

}  // namespace Platform
}  // namespace Orvik
