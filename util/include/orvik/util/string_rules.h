#pragma once
// The bounded string rules, written once. StringManipulate and the
// bootstrap's free functions forward to them; see string_manipulate.h for
// what each one does.

#include <cstdarg>

namespace Orvik {
namespace Rules {

int CopyString(char* dst, int size, const char* src);
int AppendString(char* dst, int size, const char* src);
int CopyStringN(char* dst, int size, const char* src, int n);
int FormatStringV(char* dst, int size, int allowTruncate, const char* format, va_list args);
int FormatString(char* dst, int size, int allowTruncate, const char* format, ...);
int TrimSpaces(const char* src, char* dst, int capacity);
int IsBlankString(const char* text);
void TrimBlanks(const char* src, char* dst, int size);
int IsBlank(const char* text);

}  // namespace Rules
}  // namespace Orvik
