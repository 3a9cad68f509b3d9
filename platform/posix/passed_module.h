#pragma once
// What the module file check remembers of a file that passed: which file it
// was, as the file system tells it, and what the module needs of other
// files, which is looked at again at each load.

#include <sys/stat.h>

#include <ctime>
#include <string>
#include <vector>

namespace Orvik {
namespace Platform {

// The same file (device and inode), of the same size, last written and
// last changed at the same times. The change time follows every write,
// rename and new file at that inode, and no program can set it.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified = {};
    timespec changed = {};

    FileIdentity() = default;
    explicit FileIdentity(const struct stat& info)
        : device(info.st_dev), inode(info.st_ino), size(info.st_size), modified(info.st_mtim), changed(info.st_ctim)
    {
    }
    bool operator==(const FileIdentity& other) const
    {
        return device == other.device && inode == other.inode && size == other.size &&
               modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec &&
               changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec;
    }
};

// The file system stamps times from a clock that may advance only every
// few milliseconds (or seconds, on some), so a file rewritten within one
// step can keep its times. A pass speaks for a file only once the file has
// been left alone for longer than any step: a later change then shows.
constexpr time_t kSettledSeconds = 2;
inline bool IsSettled(const FileIdentity& identity, time_t now)
{
    return identity.changed.tv_sec + kSettledSeconds < now && identity.modified.tv_sec + kSettledSeconds < now;
}

// What a module needs of other files: the names it needs, and what tells
// where the loader looks for those it does not hold ($ORIGIN in its search
// lists standing for the module's own directory).
struct Needs {
    std::vector<std::string> names;
    bool hasRunPath = false;
    bool hasOldRunPath = false;
    std::string runPath;
    std::string oldRunPath;
};

// A file that passed is taken as it was; what it needs is looked at again
// each time, since those files and what the loader holds may have changed.
struct PassedFile {
    FileIdentity identity;
    Needs needs;
    // The loader's count of unloads when it was last seen to hold a module
    // for each needed name; kept by the process alone.
    unsigned long long neededHeldAtUnloads = kNeverHeld;

    static constexpr unsigned long long kNeverHeld = ~0ull;
};

}  // namespace Platform
}  // namespace Orvik
