#pragma once
// The framework writes paths with backslashes, as on Windows; the POSIX
// file system and loader want slashes and know no drive letters.

#include <string>

namespace Orvik {
namespace Platform {

// "\opt\app\x.ini" -> "/opt/app/x.ini"; "C:\x" -> "/x"; "C:x" -> "x".
std::string ToNativePath(const char* path);
// "/opt/app/x.dll" -> "\opt\app\x.dll".
std::string FromNativePath(const std::string& path);

// The final component of a path, after its last separator of either kind.
const char* FileNamePart(const char* path);

// The directory of the running executable, native form, without the final
// slash.
std::string ExecutableDirectory();

}  // namespace Platform
}  // namespace Orvik
