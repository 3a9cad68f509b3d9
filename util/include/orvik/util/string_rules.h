#pragma once
/// \file
/// The bounded string rules, written once. StringManipulate and the
/// bootstrap's free functions forward to them; see string_manipulate.h for
/// what each one does.

#include <cstdarg>

namespace Orvik {
/// The string and path rules behind StringManipulate, FileOperator and the
/// bootstrap's helpers.
namespace Rules {

/// As StringManipulate::CopyString.
int CopyString(char* dst, int size, const char* src);
/// As StringManipulate::AppendString.
int AppendString(char* dst, int size, const char* src);
/// As StringManipulate::CopyStringN.
int CopyStringN(char* dst, int size, const char* src, int n);
/// As StringManipulate::FormatString, for callers that pass their own
/// arguments on.
int FormatStringV(char* dst, int size, int allowTruncate, const char* format, va_list args);
/// As StringManipulate::FormatString.
int FormatString(char* dst, int size, int allowTruncate, const char* format, ...);
/// As StringManipulate::TrimSpaces.
int TrimSpaces(const char* src, char* dst, int capacity);
/// As StringManipulate::IsBlankString.
int IsBlankString(const char* text);
/// As the bootstrap's Orvik::TrimBlanks.
void TrimBlanks(const char* src, char* dst, int size);
/// As the bootstrap's Orvik::IsBlank.
int IsBlank(const char* text);

}  // namespace Rules
}  // namespace Orvik
