#include "orvik/util/string_rules.h"

#include <cstdio>
#include <cstring>

#include "platform/multibyte.h"

namespace Orvik {
namespace Rules {
namespace {

bool IsSpaceOrTab(char c) { return c == ' ' || c == '\t'; }

}  // namespace

int CopyString(char* dst, int size, const char* src)
{
    if (dst == nullptr || size < 1 || src == nullptr) return 0;
    const size_t length = std::strlen(src);
    if (length >= static_cast<size_t>(size)) return 0;
    std::memcpy(dst, src, length + 1);
    return 1;
}

int AppendString(char* dst, int size, const char* src)
{
    if (dst == nullptr || size < 1 || src == nullptr) return 0;
    const size_t used = std::strlen(dst);
    const size_t length = std::strlen(src);
    if (used + length >= static_cast<size_t>(size)) return 0;
    std::memcpy(dst + used, src, length + 1);
    return 1;
}

int CopyStringN(char* dst, int size, const char* src, int n)
{
    if (dst == nullptr || n < 1 || src == nullptr || size <= n) return 0;
    Platform::CopyBytesBounded(dst, src, static_cast<size_t>(n));
    dst[n] = '\0';
    return 1;
}

int FormatStringV(char* dst, int size, int allowTruncate, const char* format, va_list args)
{
    if (dst == nullptr || size <= 0 || format == nullptr) return 0;
    dst[size - 1] = '\0';
    const int length = std::vsnprintf(dst, static_cast<size_t>(size), format, args);
    const bool complete = length >= 0 && length < size;
    return complete || allowTruncate != 0 ? 1 : 0;
}

int FormatString(char* dst, int size, int allowTruncate, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const int result = FormatStringV(dst, size, allowTruncate, format, args);
    va_end(args);
    return result;
}

int TrimSpaces(const char* src, char* dst, int capacity)
{
    if (src == nullptr || dst == nullptr || capacity < 1) return 0;
    const char* first = src;
    while (*first == ' ') ++first;
    const char* end = first + std::strlen(first);
    while (end > first && end[-1] == ' ') --end;
    const size_t length = static_cast<size_t>(end - first);
    if (length == 0 || length >= static_cast<size_t>(capacity)) {
        dst[0] = '\0';
        return 0;
    }
    // dst may be src itself or overlap it.
    std::memmove(dst, first, length);
    dst[length] = '\0';
    return static_cast<int>(length);
}

int IsBlankString(const char* text)
{
    char buffer[1024] = {};
    TrimSpaces(text, buffer, sizeof buffer);
    return buffer[0] == '\0' ? 1 : 0;
}

void TrimBlanks(const char* src, char* dst, int size)
{
    if (size < 1) return;
    dst[0] = '\0';
    const char* start = src;
    while (IsSpaceOrTab(*start)) ++start;
    if (*start == '\0') {
        CopyString(dst, size, src);
        return;
    }
    const char* end = start + std::strlen(start);
    const char* last = end;
    while (IsSpaceOrTab(last[-1])) --last;
    if (last != end) {
        CopyStringN(dst, size, start, static_cast<int>(last - start));
    } else {
        CopyString(dst, size, start);
    }
}

int IsBlank(const char* text)
{
    if (text == nullptr) return 1;
    while (IsSpaceOrTab(*text)) ++text;
    return *text == '\0' ? 1 : 0;
}

}  // namespace Rules
}  // namespace Orvik
