#pragma once
// The text operations of the configuration parser. A file holds tens of
// thousands of short lines, so the parser does not ask the platform once per
// search when it need not: under a code page without lead bytes every byte is
// a character of its own, and plain byte searches give the platform's
// multibyte-aware answers.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "platform/multibyte.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Orvik {
namespace ConfigText {

// Whether the process's code page has lead bytes at all.
inline bool HasLeadBytes()
{
    for (unsigned int byte = 0x80; byte <= 0xFF; ++byte) {
        if (Platform::IsLeadByte(static_cast<unsigned char>(byte))) return true;
    }
    return false;
}

// The first c in text (length bytes before its terminator) that is a
// character of its own, or null.
inline char* Find(char* text, size_t length, char c, bool leadBytes)
{
    if (!leadBytes) return static_cast<char*>(std::memchr(text, c, length));
    char* found = Platform::FindCharacter(text, static_cast<unsigned char>(c));
    return found != nullptr && *found == c ? found : nullptr;
}

inline bool Contains(const char* text, const char* part, bool leadBytes)
{
    return (leadBytes ? Platform::FindSubstring(text, part) : std::strstr(text, part)) != nullptr;
}

// Lower-cases the single-byte letters of text (length bytes) in place.
inline void LowerCase(char* text, size_t length, bool leadBytes)
{
    if (leadBytes) {
        Platform::LowerCaseInPlace(text);
        return;
    }
    for (char* p = text; p < text + length; ++p) {
        if (*p >= 'A' && *p <= 'Z') *p = static_cast<char>(*p - 'A' + 'a');
    }
}

// The n bytes (1, 2, 4 or 8) at key + at are those at lowerName + at once
// bit 5 of each is set.
template <size_t n>
inline bool SameWord(const char* key, const char* lowerName, size_t at)
{
    uint64_t keyWord = 0, nameWord = 0;
    std::memcpy(&keyWord, key + at, n);
    std::memcpy(&nameWord, lowerName + at, n);
    return (keyWord | (0x2020202020202020ull >> (64 - 8 * n))) == nameWord;
}

// key (length bytes) is lowerName ignoring the case of A-Z. lowerName is
// lower-case ASCII letters only, so under any code page a key with a lead
// byte differs from it, and setting bit 5 of a key byte gives lowerName's
// byte exactly when the key byte is that letter in either case. Compared in
// two words that overlap as much as the length asks (longer keys eight
// bytes at a time before), so that no loop runs byte by byte.
inline bool SameKey(const char* key, size_t length, std::string_view lowerName)
{
    if (length != lowerName.size()) return false;
    const char* const name = lowerName.data();
    if (length >= 8) {
        for (size_t at = 0; at + 8 < length; at += 8) {
            if (!SameWord<8>(key, name, at)) return false;
        }
        return SameWord<8>(key, name, length - 8);
    }
    if (length >= 4) return SameWord<4>(key, name, 0) && SameWord<4>(key, name, length - 4);
    if (length >= 2) return SameWord<2>(key, name, 0) && SameWord<2>(key, name, length - 2);
    return length == 0 || SameWord<1>(key, name, 0);
}

// Where a line's kind shows: its first '=' (a key line) or, in a line
// without one, its first '[' (a section header); each null when its text
// lacks it. open means nothing when equals is set.
struct LineMarks {
    char* equals;
    char* open;
};

// The end of the line at line: its first CR or LF before end, or end;
// length receives the length of its text, which a zero byte inside the line
// ends sooner, and marks the marks of that text as bytes. One pass: sixteen
// bytes at a time where the processor compares them at once.
inline char* ScanLine(char* const line, char* const end, size_t* length, LineMarks* marks)
{
    *marks = LineMarks{nullptr, nullptr};
    char* textEnd = nullptr;
    char* p = line;
#if defined(__SSE2__)
    const __m128i returns = _mm_set1_epi8('\r'), feeds = _mm_set1_epi8('\n'), zeros = _mm_setzero_si128();
    const __m128i equalsSigns = _mm_set1_epi8('='), opens = _mm_set1_epi8('[');
    const auto found = [](__m128i matches) { return static_cast<unsigned>(_mm_movemask_epi8(matches)); };
    for (; end - p >= 16; p += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const unsigned breaks = found(_mm_or_si128(_mm_cmpeq_epi8(bytes, returns), _mm_cmpeq_epi8(bytes, feeds)));
        if (textEnd == nullptr) {
            const unsigned stops = breaks | found(_mm_cmpeq_epi8(bytes, zeros));
            const unsigned inText = stops != 0 ? (stops & (~stops + 1)) - 1 : 0xFFFFu;
            if (marks->equals == nullptr) {
                if (const unsigned equals = found(_mm_cmpeq_epi8(bytes, equalsSigns)) & inText) {
                    marks->equals = p + __builtin_ctz(equals);
                } else if (marks->open == nullptr) {
                    const unsigned open = found(_mm_cmpeq_epi8(bytes, opens)) & inText;
                    if (open != 0) marks->open = p + __builtin_ctz(open);
                }
            }
            if (stops != 0) textEnd = p + __builtin_ctz(stops);
        }
        if (breaks != 0) {
            p += __builtin_ctz(breaks);
            *length = static_cast<size_t>((textEnd != nullptr ? textEnd : p) - line);
            return p;
        }
    }
#endif
    for (; p < end && *p != '\r' && *p != '\n'; ++p) {
        if (textEnd != nullptr) continue;
        if (*p == '\0') textEnd = p;
        if (*p == '=' && marks->equals == nullptr) marks->equals = p;
        if (*p == '[' && marks->open == nullptr) marks->open = p;
    }
    *length = static_cast<size_t>((textEnd != nullptr ? textEnd : p) - line);
    return p;
}

}  // namespace ConfigText
}  // namespace Orvik
