#pragma once
// A module file opened once for loading: the one open and fstat tell what
// the path is and serve the check's reading, instead of a stat of the path
// and an open of it each walking it. Opened without waiting, as a FIFO
// would, and without becoming a terminal's; anything but a regular file is
// closed again unread.

#include <sys/stat.h>

#include <cstdint>
#include <string>

namespace Orvik {
namespace Platform {

class ModuleFile {
public:
    ModuleFile() = default;
    ~ModuleFile() { Close(); }
    ModuleFile(const ModuleFile&) = delete;
    ModuleFile& operator=(const ModuleFile&) = delete;

    // kErrorSuccess for a regular file, now open; else why the path would
    // not load: 126 for a directory, 193 for another kind of file, or what
    // the system said. A regular file that cannot be opened counts as one
    // (opened() false): what stops its reading is told when it is read.
    uint32_t Open(const std::string& path);
    // Opens whatever path names, asking fstat of it; false, with
    // openError(), when either fails.
    bool OpenAny(const std::string& path);
    void Close();

    bool opened() const { return descriptor_ >= 0; }
    int descriptor() const { return descriptor_; }
    // What fstat said of the open file.
    const struct stat& info() const { return info_; }
    // The errno of the open or fstat that failed.
    int openError() const { return openError_; }

private:
    int descriptor_ = -1;
    int openError_ = 0;
    struct stat info_ = {};
};

}  // namespace Platform
}  // namespace Orvik
