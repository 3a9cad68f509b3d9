#pragma once
// Makes a FIFO, a file that is not a regular file, for tests of the file
// readers: they must read it as missing and never wait on it. POSIX only.

#if !defined(_WIN32)
#include <sys/stat.h>

#include <filesystem>

namespace Orvik {
namespace Testing {

inline bool MakeFifo(const std::filesystem::path& path) { return mkfifo(path.c_str(), 0600) == 0; }

}  // namespace Testing
}  // namespace Orvik
#endif
