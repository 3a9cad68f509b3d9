#pragma once
// Makes a FIFO for the tests of the file readers, which treat it like a
// missing file instead of blocking on it. Not built for Windows.

#if !defined(_WIN32)
#include <sys/stat.h>

#include <filesystem>

namespace Orvik {
namespace Testing {

inline bool MakeFifo(const std::filesystem::path& path) { return mkfifo(path.c_str(), 0600) == 0; }

}  // namespace Testing
}  // namespace Orvik
#endif
