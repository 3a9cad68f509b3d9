#include "util/number_text.h"

namespace Orvik {

namespace {

bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

int32_t ReadLeadingNumber(const char* text)
{
    const char* p = text;
    while (IsBlank(*p)) ++p;
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+') ++p;
    // Digits beyond 2^31 cannot change the result: it is already clamped.
    constexpr int64_t kBeyondRange = int64_t{1} << 31;
    int64_t magnitude = 0;
    for (; IsDigit(*p) && magnitude < kBeyondRange; ++p) magnitude = magnitude * 10 + (*p - '0');
    if (negative) return magnitude >= kBeyondRange ? INT32_MIN : static_cast<int32_t>(-magnitude);
    return magnitude >= kBeyondRange ? INT32_MAX : static_cast<int32_t>(magnitude);
}

}  // namespace Orvik
