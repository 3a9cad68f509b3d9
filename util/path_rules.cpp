#include "orvik/util/path_rules.h"

#include <atomic>
#include <cstring>
#include <initializer_list>

#include "orvik/platform/lock.h"
#include "orvik/platform/module_loader.h"
#include "platform/multibyte.h"
#include "orvik/util/string_rules.h"

namespace Orvik {
namespace Rules {
namespace {

// The last c in text, or null. The run-time's search may answer the
// terminator for malformed text; that is no match.
const char* LastOf(const char* text, char c)
{
    const char* found = Platform::FindLastCharacter(text, static_cast<unsigned char>(c));
    return found != nullptr && *found == c ? found : nullptr;
}

bool Holds(const char* text, char c)
{
    return Platform::FindCharacter(text, static_cast<unsigned char>(c)) != nullptr;
}

bool EndsWithBackslash(const char* text)
{
    const char* last = LastOf(text, '\\');
    return last != nullptr && last[1] == '\0';
}

// Fills buffer (kMaxPath bytes) with the host executable's directory; empty
// when it cannot be read.
void ReadHostDirectory(char* buffer)
{
    buffer[0] = '\0';
    Platform::GetModuleFilePath(Platform::FindLoadedModule(nullptr), buffer, Platform::kMaxPath);
    char* slash = const_cast<char*>(LastOf(buffer, '\\'));
    if (slash != nullptr) *slash = '\0';
}

}  // namespace

int IsRelativePath(const char* path)
{
    if (path == nullptr) return 1;
    return !Holds(path, ':') && path[0] != '\\' ? 1 : 0;
}

const char* HostDirectory()
{
    // The module's buffer is written only until the directory is known and
    // read only once it is: a lookup that failed (memory, the system) is
    // made again at the next call, and meanwhile the answer is empty.
    static char directory[Platform::kMaxPath];
    static std::atomic<bool> known{false};
    if (known.load(std::memory_order_acquire)) return directory;
    static Platform::OwnedLock lock;
    const Platform::LockGuard guard(lock.section());
    if (!known.load(std::memory_order_relaxed)) {
        ReadHostDirectory(directory);
        if (directory[0] == '\0') return "";
        known.store(true, std::memory_order_release);
    }
    return directory;
}

int JoinToBaseDirectory(const char* base, const char* name, char* dst, int size)
{
    if (name == nullptr || dst == nullptr || size < 2) return 0;
    FormatString(dst, size, 1, "%s\\%s", base, name);
    return 1;
}

int MakeAbsolutePath(const char* base, const char* path, char* dst, int size)
{
    if (IsRelativePath(path)) return JoinToBaseDirectory(base, path, dst, size);
    return CopyString(dst, size, path);
}

const char* GetLastSeparator(const char* path)
{
    if (path == nullptr) return nullptr;
    const char* separator = LastOf(path, '\\');
    return separator != nullptr ? separator : LastOf(path, '/');
}

int JoinToProfileDirectory(const char* profile, const char* name, char* dst, int size)
{
    if (profile == nullptr || name == nullptr || dst == nullptr || size < 1) return 0;
    dst[0] = '\0';
    const char* separator = GetLastSeparator(profile);
    if (separator != nullptr) {
        CopyStringN(dst, size, profile, static_cast<int>(separator - profile + 1));
    } else {
        CopyString(dst, size, profile);
        AppendString(dst, size, "\\");
    }
    AppendString(dst, size, name);
    return 1;
}

void JoinDirectoryName(const char* dir, const char* name, char* dst, int size)
{
    if (dst == nullptr || size < 1) return;
    dst[0] = '\0';
    if (IsBlank(dir)) {
        CopyString(dst, size, name);
        return;
    }
    AppendString(dst, size, dir);
    AppendString(dst, size, "\\");
    AppendString(dst, size, name);
}

int JoinPath(const char* dir, const char* name, char* dst, int size)
{
    if (dir == nullptr || name == nullptr || dst == nullptr || size <= 0) return 0;
    // Copied rather than formatted: every reload of a scanned module joins
    // its path. As much as fits is kept, and a cut path answers 0.
    const char* parts[] = {dir, EndsWithBackslash(dir) ? "" : "\\", name};
    size_t room = static_cast<size_t>(size) - 1;
    bool whole = true;
    char* end = dst;
    for (const char* part : parts) {
        const size_t length = std::strlen(part);
        const size_t taken = length < room ? length : room;
        std::memcpy(end, part, taken);
        end += taken;
        room -= taken;
        whole = whole && taken == length;
    }
    *end = '\0';
    return whole ? 1 : 0;
}

int GetFileNamePart(const char* path, char* dst, int size)
{
    if (path == nullptr || dst == nullptr || size < 1) return 0;
    const char* separator = GetLastSeparator(path);
    return CopyString(dst, size, separator != nullptr ? separator + 1 : path);
}

int GetParentDirectory(const char* base, const char* path, char* dst, int size)
{
    char absolute[Platform::kMaxPath] = {};
    if (!MakeAbsolutePath(base, path, absolute, Platform::kMaxPath)) return 0;
    const char* separator = LastOf(absolute, '\\');
    if (separator == nullptr) separator = absolute;
    if (const char* slash = LastOf(separator, '/')) separator = slash;
    return CopyStringN(dst, size, absolute, static_cast<int>(separator - absolute));
}

int IsValidPathChars(const char* path)
{
    if (path == nullptr) return 0;
    for (char c : {'<', '>', '"', '|', '*', '?'}) {
        if (Holds(path, c)) return 0;
    }
    return 1;
}

int PathExists(const char* base, const char* path)
{
    char absolute[Platform::kMaxPath] = {};
    MakeAbsolutePath(base, path, absolute, Platform::kMaxPath);
    return Platform::PathIsPresent(absolute) ? 1 : 0;
}

int CreateDirectoryIfMissing(const char* base, const char* dir)
{
    if (PathExists(base, dir)) return 1;
    char absolute[Platform::kMaxPath] = {};
    MakeAbsolutePath(base, dir, absolute, Platform::kMaxPath);
    return Platform::MakeDirectory(absolute) ? 1 : 0;
}

int CreateDirectoryForPath(const char* base, const char* path)
{
    if (path == nullptr || path[0] == '\0' || !IsValidPathChars(path)) return 0;
    char directory[Platform::kMaxPath] = {};
    if (!GetParentDirectory(base, path, directory, Platform::kMaxPath)) return 0;
    return CreateDirectoryIfMissing(base, directory);
}

void EnumerateFiles(const char* dir, FileFound found, void* receiver, void* context)
{
    // A directory of 259 characters leaves no room for the "*"; a cut
    // pattern would name the directory itself, so nothing is listed.
    char pattern[Platform::kMaxPath];
    if (dir == nullptr || !FormatString(pattern, Platform::kMaxPath, 0, "%s*", dir)) return;
    Platform::FindData data;
    const Platform::UniqueFind find(Platform::FindFirstEntry(pattern, &data));
    if (!find) return;
    do {
        found(receiver, data, context);
    } while (Platform::FindNextEntry(find.get(), &data));
}

int IsLaterFileTime(const Platform::FileTime& a, const Platform::FileTime& b)
{
    return Platform::CompareFileTimes(&a, &b) == 1 ? 1 : 0;
}

}  // namespace Rules
}  // namespace Orvik
