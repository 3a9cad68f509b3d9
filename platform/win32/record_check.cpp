#include "platform/win32/record_check.h"

#include <windows.h>

#include <cstring>
#include <mutex>
#include <string>
#include <unordered_map>

#include "orvik/platform/platform_api.h"
#include "platform/module_record.h"

namespace Orvik {
namespace Platform {

namespace {

// A file as it was when its record was read, and what that gave.
struct CheckedFile {
    DWORD sizeHigh;
    DWORD sizeLow;
    FILETIME written;
    uint32_t refusal;
};

struct CheckedFiles {
    std::mutex lock;
    std::unordered_map<std::string, CheckedFile> files;
};

CheckedFiles& Checked()
{
    static CheckedFiles* checked = new CheckedFiles;  // used until the process ends
    return *checked;
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
    CheckedFiles& checked = Checked();
    {
        std::lock_guard<std::mutex> guard(checked.lock);
        const auto known = checked.files.find(file);
        if (known != checked.files.end() && SameFile(known->second, now)) return known->second.refusal;
    }
    const uint32_t refusal = RecordRefusal(file.c_str());
    std::lock_guard<std::mutex> guard(checked.lock);
    checked.files.insert_or_assign(file,
                                   CheckedFile{now.nFileSizeHigh, now.nFileSizeLow, now.ftLastWriteTime, refusal});
    return refusal;
}

}  // namespace Platform
}  // namespace Orvik
