#include "platform/win32/record_check.h"

#include <windows.h>

#include <cstring>
#include <string>
#include <vector>

#include "orvik/platform/platform_api.h"
#include "platform/module_record.h"

namespace Orvik {
namespace Platform {

namespace {

// A file as it was when its record was read, and what that gave.
struct CheckedFile {
    std::string path;
    DWORD sizeHigh;
    DWORD sizeLow;
    FILETIME written;
    uint32_t refusal;
};

// A process loads few module files: a list searched in turn, under a lock
// of the system's, keeps each module that carries this layer small.
SRWLOCK g_checkedLock = SRWLOCK_INIT;
std::vector<CheckedFile>* g_checked = nullptr;  // made at first use, kept until the process ends

CheckedFile* FindChecked(const std::string& path)
{
    if (g_checked == nullptr) return nullptr;
    for (CheckedFile& file : *g_checked) {
        if (file.path == path) return &file;
    }
    return nullptr;
}

bool SameFile(const CheckedFile& known, const WIN32_FILE_ATTRIBUTE_DATA& now)
{
    return known.sizeHigh == now.nFileSizeHigh && known.sizeLow == now.nFileSizeLow &&
           CompareFileTime(&known.written, &now.ftLastWriteTime) == 0;
}

}  // namespace

std::string ModuleFileToLoad(const char* path)
{
    char found[MAX_PATH] = {};
    char* name = nullptr;
    const bool bare = std::strpbrk(path, "\\/:") == nullptr;
    const DWORD length = bare ? SearchPathA(nullptr, path, ".dll", sizeof found, found, &name)
                              : GetFullPathNameA(path, sizeof found, found, &name);
    if (length == 0 || length >= sizeof found) return std::string();
    std::string file(found, length);
    // As the loader, which appends ".dll" to a path whose name has no extension.
    const size_t nameStart = file.find_last_of("\\/") + 1;
    if (!bare && file.find('.', nameStart) == std::string::npos) file += ".dll";
    return file;
}

uint32_t CheckRecordBeforeLoad(const char* path)
{
    if (path == nullptr || *path == '\0' || GetModuleHandleA(path) != nullptr) return kErrorSuccess;
    const std::string file = ModuleFileToLoad(path);
    WIN32_FILE_ATTRIBUTE_DATA now;
    if (file.empty() || !GetFileAttributesExA(file.c_str(), GetFileExInfoStandard, &now) ||
        (now.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return kErrorSuccess;
    }
    AcquireSRWLockShared(&g_checkedLock);
    const CheckedFile* known = FindChecked(file);
    const bool same = known != nullptr && SameFile(*known, now);
    const uint32_t knownRefusal = same ? known->refusal : kErrorSuccess;
    ReleaseSRWLockShared(&g_checkedLock);
    if (same) return knownRefusal;
    const uint32_t refusal = RecordRefusal(file.c_str());
    const CheckedFile checked{file, now.nFileSizeHigh, now.nFileSizeLow, now.ftLastWriteTime, refusal};
    AcquireSRWLockExclusive(&g_checkedLock);
    if (g_checked == nullptr) g_checked = new std::vector<CheckedFile>;
    if (CheckedFile* entry = FindChecked(file)) {
        *entry = checked;
    } else {
        g_checked->push_back(checked);
    }
    ReleaseSRWLockExclusive(&g_checkedLock);
    return refusal;
}

}  // namespace Platform
}  // namespace Orvik
