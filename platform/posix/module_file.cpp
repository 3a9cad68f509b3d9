#include "platform/posix/module_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/posix/error_numbers.h"

namespace Orvik {
namespace Platform {

bool ModuleFile::FindAny(const std::string& path)
{
    Close();
    path_ = path;
    found_ = stat(path.c_str(), &info_) == 0;
    if (!found_) error_ = errno;
    return found_;
}

uint32_t ModuleFile::Find(const std::string& path)
{
    if (!FindAny(path)) return ModuleErrorFromErrno(error_);
    if (S_ISDIR(info_.st_mode)) return kErrorModuleNotFound;
    return S_ISREG(info_.st_mode) ? kErrorSuccess : kErrorBadExeFormat;
}

bool ModuleFile::OpenForReading()
{
    Close();
    descriptor_ = open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor_ >= 0 && fstat(descriptor_, &info_) == 0) return true;
    error_ = errno;
    Close();
    return false;
}

void ModuleFile::Close()
{
    if (descriptor_ >= 0) close(descriptor_);
    descriptor_ = -1;
}

}  // namespace Platform
}  // namespace Orvik
