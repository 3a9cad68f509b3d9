#pragma once
// Splitting a path into drive, directory, file name and extension.

#include "orvik/platform/platform_api.h"

namespace Orvik {
namespace Platform {

constexpr int kMaxDrive = 3;
constexpr int kMaxDirectory = 256;
constexpr int kMaxFileName = 256;
constexpr int kMaxExtension = 256;

// Any output may be null. drive: "X:" when the second character is a colon,
// else empty; directory: up to and including the last separator; fileName:
// up to the last dot after it; extension: from that dot on. Separators are
// '\' and '/'; the trail byte of a double-byte character is never taken for
// a separator or a dot. Buffers hold kMaxDrive, kMaxDirectory, kMaxFileName
// and kMaxExtension bytes; on POSIX a longer part is cut to fit, the Windows
// run-time may leave every part empty instead.
ORVIK_PLATFORM_API void SplitPath(const char* path, char* drive, char* directory, char* fileName,
                                  char* extension);

}  // namespace Platform
}  // namespace Orvik
