// Directory listing in the manner of the Windows find calls: a pattern whose
// last part may hold '*' and '?', matched ignoring case; "." and ".." are
// listed; entries come sorted by name so that every run lists alike.

#include <dirent.h>
#include <strings.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "orvik/platform/file_system.h"
#include "orvik/platform/module_loader.h"
#include "platform/posix/error_numbers.h"
#include "platform/posix/native_path.h"

namespace Orvik {
namespace Platform {

// A listing is read whole when it starts and handed out entry by entry.
struct DirectoryListing {
    std::vector<FindData> entries;
    size_t next = 0;
};

namespace {

constexpr uint32_t kFileAttributeArchive = 0x20;
// 1601-01-01 to 1970-01-01 in seconds.
constexpr uint64_t kEpochDifference = 11644473600ULL;

FileTime ToFileTime(const timespec& time)
{
    const uint64_t ticks = (static_cast<uint64_t>(time.tv_sec) + kEpochDifference) * 10000000ULL +
                           static_cast<uint64_t>(time.tv_nsec) / 100;
    return FileTime{static_cast<uint32_t>(ticks & 0xFFFFFFFFu), static_cast<uint32_t>(ticks >> 32)};
}

bool WildcardMatch(const char* pattern, const char* name)
{
    if (*pattern == '\0') return *name == '\0';
    if (*pattern == '*') {
        for (const char* rest = name;; ++rest) {
            if (WildcardMatch(pattern + 1, rest)) return true;
            if (*rest == '\0') return false;
        }
    }
    if (*name == '\0') return false;
    const bool same = *pattern == '?' || strncasecmp(pattern, name, 1) == 0;
    return same && WildcardMatch(pattern + 1, name + 1);
}

// False when the entry cannot be described (it went meanwhile, or the
// system failed to tell): a Windows listing always carries an entry's kind
// and times, so such an entry is left out rather than listed without them.
bool Describe(const std::string& directory, const char* name, FindData* data)
{
    struct stat info;
    if (stat((directory + "/" + name).c_str(), &info) != 0) return false;
    *data = FindData{};
    data->attributes = S_ISDIR(info.st_mode) ? kFileAttributeDirectory : kFileAttributeArchive;
    // POSIX keeps no creation time; the last status change stands in.
    data->creationTime = ToFileTime(info.st_ctim);
    data->lastAccessTime = ToFileTime(info.st_atim);
    data->lastWriteTime = ToFileTime(info.st_mtim);
    const uint64_t size = S_ISDIR(info.st_mode) ? 0 : static_cast<uint64_t>(info.st_size);
    data->sizeHigh = static_cast<uint32_t>(size >> 32);
    data->sizeLow = static_cast<uint32_t>(size & 0xFFFFFFFFu);
    std::strncpy(data->name, name, sizeof data->name - 1);
    return true;
}

bool NameOrder(const FindData& a, const FindData& b) { return strcasecmp(a.name, b.name) < 0; }

}  // namespace

FindHandle FindFirstEntry(const char* pattern, FindData* data)
try {
    const std::string native = ToNativePath(pattern);
    const size_t slash = native.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : (slash == 0 ? "/" : native.substr(0, slash));
    std::string namePattern = slash == std::string::npos ? native : native.substr(slash + 1);
    if (namePattern == "*.*") namePattern = "*";  // Windows lists every name for "*.*"

    const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(directory.c_str()), closedir);
    if (!stream) {
        SetLastErrorCode(errno == ENOENT || errno == ENOTDIR ? kErrorPathNotFound : ErrorFromErrno(errno));
        return InvalidFindHandle();
    }
    auto listing = std::make_unique<DirectoryListing>();
    FindData described;
    // A directory that fails to list further ends the listing there.
    while (const dirent* entry = readdir(stream.get())) {
        if (!namePattern.empty() && std::strlen(entry->d_name) < sizeof data->name &&
            WildcardMatch(namePattern.c_str(), entry->d_name) && Describe(directory, entry->d_name, &described)) {
            listing->entries.push_back(described);
        }
    }
    std::sort(listing->entries.begin(), listing->entries.end(), NameOrder);

    if (listing->entries.empty()) {
        SetLastErrorCode(kErrorFileNotFound);
        return InvalidFindHandle();
    }
    *data = listing->entries[listing->next++];
    return listing.release();
} catch (const std::bad_alloc&) {
    return OutOfMemory(InvalidFindHandle());
}

bool FindNextEntry(FindHandle find, FindData* data)
{
    DirectoryListing* listing = find;
    if (listing == nullptr || find == InvalidFindHandle()) {
        SetLastErrorCode(kErrorInvalidHandle);
        return false;
    }
    if (listing->next >= listing->entries.size()) {
        SetLastErrorCode(kErrorNoMoreFiles);
        return false;
    }
    *data = listing->entries[listing->next++];
    return true;
}

void CloseFind(FindHandle find)
{
    if (find != nullptr && find != InvalidFindHandle()) delete find;
}

}  // namespace Platform
}  // namespace Orvik
