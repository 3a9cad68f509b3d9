#include "platform/posix/module_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/posix/error_numbers.h"

namespace Orvik {
namespace Platform {

namespace {

uint32_t ReasonOfKind(mode_t mode)
{
    if (S_ISDIR(mode)) return kErrorModuleNotFound;
    return S_ISREG(mode) ? kErrorSuccess : kErrorBadExeFormat;
}

}  // namespace

bool ModuleFile::OpenAny(const std::string& path)
{
    Close();
    descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor_ >= 0 && fstat(descriptor_, &info_) != 0) {
        openError_ = errno;
        Close();
        return false;
    }
    if (descriptor_ < 0) openError_ = errno;
    return descriptor_ >= 0;
}

uint32_t ModuleFile::Open(const std::string& path)
{
    if (!OpenAny(path)) {
        // What the path is decides, as a stat would have: only a regular
        // file is worth reading.
        struct stat info;
        if (stat(path.c_str(), &info) != 0) return ModuleErrorFromErrno(errno);
        return ReasonOfKind(info.st_mode);
    }
    const uint32_t reason = ReasonOfKind(info_.st_mode);
    if (reason != kErrorSuccess) Close();
    return reason;
}

void ModuleFile::Close()
{
    if (descriptor_ >= 0) close(descriptor_);
    descriptor_ = -1;
}

}  // namespace Platform
}  // namespace Orvik
