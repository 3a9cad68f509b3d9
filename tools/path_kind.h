#pragma once
// What a path names: a module or a profile must be a file; a directory of
// that name is no better than nothing.

#include <string>

namespace Orvik {
namespace Tools {

enum class PathKind { Missing, File, Directory };

// path in the framework's form; one ending in a separator is never a file.
PathKind KindOfPath(const std::string& path);

inline bool IsFile(const std::string& path) { return KindOfPath(path) == PathKind::File; }

}  // namespace Tools
}  // namespace Orvik
