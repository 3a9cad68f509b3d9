#include "platform/posix/native_path.h"

#include "platform/multibyte.h"
#include "platform/posix/executable_path.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace Orvik {
namespace Platform {

namespace {

// Every lead byte is above 0x80: text without such bytes needs no care for
// double-byte characters, and every load and lookup of a module passes here.
// No early exit, so that the compiler can take many bytes at a time.
bool IsSevenBit(const char* text, size_t length)
{
    unsigned char any = 0;
    for (size_t i = 0; i < length; ++i) any |= static_cast<unsigned char>(text[i]);
    return any < 0x80;
}

}  // namespace

std::string ToNativePath(const char* path)
{
    if (path == nullptr) return std::string();
    if (std::isalpha(static_cast<unsigned char>(path[0])) && path[1] == ':') path += 2;
    std::string native(path);
    // Seven-bit text, nearly every path, is turned in the same pass that
    // finds it is.
    unsigned char any = 0;
    for (char& c : native) {
        any |= static_cast<unsigned char>(c);
        c = c == '\\' ? '/' : c;
    }
    if (any < 0x80) return native;
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
    if (IsSevenBit(path, std::strlen(path))) {
        const char* slash = std::strrchr(path, '/');
        const char* backslash = std::strrchr(path, '\\');
        const char* last = slash > backslash ? slash : backslash;
        return last != nullptr ? last + 1 : path;
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
