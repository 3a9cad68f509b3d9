#pragma once
// Text in the process's ANSI code page: searches and comparisons that never
// take the trail byte of a double-byte character for a character of its own.
// The results follow the C run-time's multibyte functions, also for a lead
// byte that stands right before the terminator (malformed text).

#include "orvik/platform/platform_api.h"

namespace Orvik {
namespace Platform {

// No byte is a lead byte, on every platform.
constexpr int kSingleByteCodePage = 0;
// The code page the process started with: its ANSI code page on Windows,
// single-byte on POSIX.
constexpr int kStartupCodePage = -3;

// Selects the code page for the multibyte functions of the whole process.
// Double-byte: 932 (lead bytes 0x81-0x9F, 0xE0-0xFC), 936, 949 and 950
// (0x81-0xFE). On POSIX the single-byte ANSI code pages 874 and 1250-1258 are
// accepted too; Windows accepts what its run-time knows. Returns false, and
// keeps the current code page, when the code page is not available.
ORVIK_PLATFORM_API bool SelectCodePage(int codePage);
ORVIK_PLATFORM_API bool IsLeadByte(unsigned char byte);

// First / last occurrence of a character, or null; 0 finds the terminator.
// Under a double-byte code page a character above 0xFF is a double-byte
// character (lead byte << 8 | trail byte), and a lead byte before the
// terminator ends the search: the first gives null, the last its match so
// far or else the terminator. Under a single-byte one only the low byte of
// character counts, as with strchr.
ORVIK_PLATFORM_API char* FindCharacter(const char* text, unsigned int character);
ORVIK_PLATFORM_API char* FindLastCharacter(const char* text, unsigned int character);
// First occurrence of part starting on a character boundary; text when part
// is empty.
ORVIK_PLATFORM_API char* FindSubstring(const char* text, const char* part);
// <0, 0, >0 like strcmp, ordering double-byte characters by their value; the
// first ignores the case of single-byte letters A-Z.
ORVIK_PLATFORM_API int CompareIgnoringCase(const char* a, const char* b);
ORVIK_PLATFORM_API int CompareText(const char* a, const char* b);
// Lower-cases the single-byte letters of text in place; returns text.
ORVIK_PLATFORM_API char* LowerCaseInPlace(char* text);
// Copies at most count bytes of source, padding with zeros up to count like
// strncpy (so no terminator when source fills count) and never ending on a
// lead byte whose trail byte was cut: a 0 takes its place. Returns
// destination.
ORVIK_PLATFORM_API char* CopyBytesBounded(char* destination, const char* source, size_t count);

}  // namespace Platform
}  // namespace Orvik
