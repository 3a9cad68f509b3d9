#pragma once
// Numbers written in configuration files.

#include <cstdint>

namespace Orvik {

// The number at the start of text, read as atoi reads it: blanks (space,
// tab, line feed, vertical tab, form feed, carriage return), an optional
// sign, then decimal digits up to the first other character; 0 without
// digits. A number beyond the 32-bit range, where atoi's result is
// undefined, gives the nearer end of the range: 2147483647 or -2147483648.
int32_t ReadLeadingNumber(const char* text);

}  // namespace Orvik
