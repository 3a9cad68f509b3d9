#include "platform/win32/record_check.h"

#include <cstring>

#include "orvik/platform/platform_api.h"
#include "platform/module_record.h"

namespace Orvik {
namespace Platform {

namespace {

// A file as it was when its record was read, and what that gave.
struct CheckedFile {
    CheckedFile* next;
    char path[MAX_PATH];
    DWORD sizeHigh;
    DWORD sizeLow;
    FILETIME written;
    uint32_t refusal;
};

// A process loads few module files: a list on the process heap, searched in
// turn under a lock of the system's. Entries stay until the process ends.
SRWLOCK g_checkedLock = SRWLOCK_INIT;
CheckedFile* g_checked = nullptr;

CheckedFile* FindChecked(const char* path)
{
    for (CheckedFile* file = g_checked; file != nullptr; file = file->next) {
        if (std::strcmp(file->path, path) == 0) return file;
    }
    return nullptr;
}

bool SameFile(const CheckedFile& known, const WIN32_FILE_ATTRIBUTE_DATA& now)
{
    return known.sizeHigh == now.nFileSizeHigh && known.sizeLow == now.nFileSizeLow &&
           CompareFileTime(&known.written, &now.ftLastWriteTime) == 0;
}

// Keeps what a check found. One that cannot be kept is made again at the
// next load of the file.
void Remember(const char* file, const WIN32_FILE_ATTRIBUTE_DATA& now, uint32_t refusal)
{
    AcquireSRWLockExclusive(&g_checkedLock);
    CheckedFile* entry = FindChecked(file);
    if (entry == nullptr) {
        entry = static_cast<CheckedFile*>(HeapAlloc(GetProcessHeap(), 0, sizeof(CheckedFile)));
        if (entry != nullptr) {
            std::memcpy(entry->path, file, std::strlen(file) + 1);
            entry->next = g_checked;
            g_checked = entry;
        }
    }
    if (entry != nullptr) {
        entry->sizeHigh = now.nFileSizeHigh;
        entry->sizeLow = now.nFileSizeLow;
        entry->written = now.ftLastWriteTime;
        entry->refusal = refusal;
    }
    ReleaseSRWLockExclusive(&g_checkedLock);
}

}  // namespace

bool ModuleFileToLoad(const char* path, char (&file)[MAX_PATH])
{
    char* name = nullptr;
    const bool bare = std::strpbrk(path, "\\/:") == nullptr;
    const DWORD length = bare ? SearchPathA(nullptr, path, ".dll", MAX_PATH, file, &name)
                              : GetFullPathNameA(path, MAX_PATH, file, &name);
    if (length == 0 || length >= MAX_PATH || name == nullptr) return false;
    // As the loader, which appends ".dll" to a path whose name has no extension.
    if (!bare && std::strchr(name, '.') == nullptr) {
        constexpr char kExtension[] = ".dll";
        if (length + sizeof kExtension > MAX_PATH) return false;
        std::memcpy(file + length, kExtension, sizeof kExtension);
    }
    return true;
}

uint32_t CheckRecordBeforeLoad(const char* path)
{
    if (path == nullptr || *path == '\0' || GetModuleHandleA(path) != nullptr) return kErrorSuccess;
    char file[MAX_PATH];
    WIN32_FILE_ATTRIBUTE_DATA now;
    if (!ModuleFileToLoad(path, file) || !GetFileAttributesExA(file, GetFileExInfoStandard, &now) ||
        (now.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return kErrorSuccess;
    }
    AcquireSRWLockShared(&g_checkedLock);
    const CheckedFile* known = FindChecked(file);
    const bool same = known != nullptr && SameFile(*known, now);
    const uint32_t knownRefusal = same ? known->refusal : kErrorSuccess;
    ReleaseSRWLockShared(&g_checkedLock);
    if (same) return knownRefusal;
    const uint32_t refusal = RecordRefusal(file);
    Remember(file, now, refusal);
    return refusal;
}

}  // namespace Platform
}  // namespace Orvik
