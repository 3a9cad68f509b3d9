#include "platform/posix/error_numbers.h"

#include <cerrno>

namespace Orvik {
namespace Platform {

uint32_t ErrorFromErrno(int error)
{
    switch (error) {
    case ENOENT: return kErrorFileNotFound;
    case ENOTDIR: return kErrorPathNotFound;
    case EEXIST: return kErrorAlreadyExists;
    case ENOMEM: return kErrorNotEnoughMemory;
    case EMFILE:
    case ENFILE: return kErrorTooManyOpenFiles;
    case ENOSPC:
    case EDQUOT: return kErrorDiskFull;
    case EIO: return kErrorIoDevice;
    default: return kErrorAccessDenied;
    }
}

uint32_t ModuleErrorFromErrno(int error)
{
    switch (error) {
    case EACCES:
    case EPERM:
    case ENOMEM:
    case EMFILE:
    case ENFILE:
    case ENOSPC:
    case EDQUOT:
    case EIO:
        return ErrorFromErrno(error);
    default:
        return kErrorModuleNotFound;
    }
}

}  // namespace Platform
}  // namespace Orvik
