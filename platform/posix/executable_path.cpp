#include "platform/posix/executable_path.h"

#include <limits.h>
#include <unistd.h>

#include <cerrno>

#include "platform/mutex.h"
#include "platform/posix/error_numbers.h"

namespace Orvik {
namespace Platform {

std::string ExecutablePath()
{
    // Plain storage, never destroyed: modules ask for the path in their own
    // exit processing too.
    static Mutex lock;
    static char path[PATH_MAX] ORVIK_GUARDED_BY(lock);
    static size_t length ORVIK_GUARDED_BY(lock) = 0;
    const MutexGuard guard(lock);
    if (length == 0) {
        const ssize_t read = readlink("/proc/self/exe", path, sizeof path - 1);
        if (read <= 0) {
            SetLastErrorCode(read < 0 ? ErrorFromErrno(errno) : kErrorFileNotFound);
            return std::string();
        }
        length = static_cast<size_t>(read);
    }
    return std::string(path, length);
}

}  // namespace Platform
}  // namespace Orvik
