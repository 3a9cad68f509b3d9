#include "platform/path_split.h"

#include <algorithm>
#include <cstring>

#include "platform/multibyte.h"

namespace Orvik {
namespace Platform {
namespace {

// Writes the part [begin, end) into a buffer of capacity bytes, cut to fit.
void CopyPart(char* out, size_t capacity, const char* begin, const char* end)
{
    if (out == nullptr) return;
    const size_t length = std::min(static_cast<size_t>(end - begin), capacity - 1);
    std::memcpy(out, begin, length);
    out[length] = '\0';
}

}  // namespace

void SplitPath(const char* path, char* drive, char* directory, char* fileName, char* extension)
{
    const char* rest = path;
    if (path[0] != '\0' && path[1] == ':') rest = path + 2;
    CopyPart(drive, kMaxDrive, path, rest);

    // One pass finds the start of the file name and the last dot; the trail
    // byte of a double-byte character is skipped with its lead byte.
    const char* name = rest;
    const char* dot = nullptr;
    const char* end = rest;
    for (; *end != '\0'; ++end) {
        if (IsLeadByte(static_cast<unsigned char>(*end))) {
            if (end[1] == '\0') {
                ++end;
                break;
            }
            ++end;
        } else if (*end == '\\' || *end == '/') {
            name = end + 1;
        } else if (*end == '.') {
            dot = end;
        }
    }
    if (dot == nullptr || dot < name) dot = end;

    CopyPart(directory, kMaxDirectory, rest, name);
    CopyPart(fileName, kMaxFileName, name, dot);
    CopyPart(extension, kMaxExtension, dot, end);
}

}  // namespace Platform
}  // namespace Orvik
