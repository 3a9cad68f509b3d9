#include "platform/posix/native_path.h"

#include "platform/multibyte.h"
#include "platform/posix/executable_path.h"

#include <algorithm>
#include <cctype>

namespace Orvik {
namespace Platform {

namespace {

// Every lead byte is above 0x80: text without such bytes needs no care for
// double-byte characters, and every load and lookup of a module passes here.
bool IsSevenBit(const char* text)
{
    for (; *text != '\0'; ++text) {
        if (static_cast<unsigned char>(*text) >= 0x80) return false;
    }
    return true;
}

}  // namespace

std::string ToNativePath(const char* path)
{
    if (path == nullptr) return std::string();
    if (std::isalpha(static_cast<unsigned char>(path[0])) && path[1] == ':') path += 2;
    std::string native(path);
    bool sevenBit = true;
    for (char& c : native) {
        sevenBit = sevenBit && static_cast<unsigned char>(c) < 0x80;
        if (c == '\\') c = '/';
    }
    if (sevenBit) return native;
    native.clear();
    // The trail byte of a double-byte character may be 0x5C; it stays.
    for (const char* p = path; *p != '\0'; ++p) {
        if (IsLeadByte(static_cast<unsigned char>(*p)) && p[1] != '\0') {
            native += *p++;
            native += *p;
        } else {
            native += *p == '\\' ? '/' : *p;
        }
    }
    return native;
}

std::string FromNativePath(const std::string& path)
{
    // A slash is never a trail byte, so no multibyte care is needed here.
    std::string framework(path);
    std::replace(framework.begin(), framework.end(), '/', '\\');
    return framework;
}

const char* FileNamePart(const char* path)
{
    const char* name = path;
    if (IsSevenBit(path)) {
        for (const char* p = path; *p != '\0'; ++p) {
            if (*p == '/' || *p == '\\') name = p + 1;
        }
        return name;
    }
    for (const char* p = path; *p != '\0'; ++p) {
        if (IsLeadByte(static_cast<unsigned char>(*p)) && p[1] != '\0') {
            ++p;
        } else if (*p == '/' || *p == '\\') {
            name = p + 1;
        }
    }
    return name;
}

std::string ExecutableDirectory()
{
    const std::string& path = ExecutablePath();
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string(".") : path.substr(0, slash);
}

}  // namespace Platform
}  // namespace Orvik
