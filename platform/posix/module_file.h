#pragma once
// A module file found for loading: a stat tells what the path is, and
// whether the check has seen this very file pass before; only a file the
// check reads is opened, once, its fstat then standing for the stat. It is
// opened without waiting, as a FIFO would, and without becoming a
// terminal's.

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

    // kErrorSuccess for a regular file; else why the path would not load:
    // 126 for a directory, 193 for another kind of file, or what the
    // system said.
    uint32_t Find(const std::string& path);
    // Whatever path names; false, with error(), when its stat fails.
    bool FindAny(const std::string& path);
    // Opens the file found for reading; false, with error(), when the open
    // or its fstat fails.
    bool OpenForReading();
    void Close();

    bool found() const { return found_; }
    int descriptor() const { return descriptor_; }
    // What the stat said of the path, or the fstat of the open file.
    const struct stat& info() const { return info_; }
    // The errno of the call that failed.
    int error() const { return error_; }

private:
    std::string path_;
    bool found_ = false;
    int descriptor_ = -1;
    int error_ = 0;
    struct stat info_ = {};
};

}  // namespace Platform
}  // namespace Orvik
