#pragma once
// A FIFO for tests of what the platform layer refuses to read: files that
// are not regular files. POSIX only.

#if !defined(_WIN32)
#include <sys/stat.h>

#include <filesystem>

namespace Orvik {
namespace Testing {

inline bool MakeFifo(const std::filesystem::path& path) { return mkfifo(path.c_str(), 0600) == 0; }

}  // namespace Testing
}  // namespace Orvik
#endif
