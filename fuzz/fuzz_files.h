#pragma once
// Files the fuzz targets hand their inputs over in: one directory of their
// own, made at first use and removed when the process ends normally.

#include <cstddef>
#include <cstdint>
#include <string>

namespace Orvik {
namespace Fuzzing {

// Writes data to the file name of that directory; returns the file's path
// in the framework's form (backslashes).
std::string WriteFuzzFile(const std::string& name, const uint8_t* data, size_t size);

// Removes the file name of that directory.
void RemoveFuzzFile(const std::string& name);

}  // namespace Fuzzing
}  // namespace Orvik
