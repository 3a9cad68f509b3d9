// Numbers from configuration files read as atoi reads them, with a defined
// answer where atoi has none.

#include "util/number_text.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace Orvik {
namespace {

TEST(ReadLeadingNumber, ReadsAsAtoiWhereTheNumberFits)
{
    const struct {
        const char* text;
        int32_t value;
    } cases[] = {
        {"10", 10},     {" \t\n\v\f\r+7", 7}, {"-12abc", -12}, {"3x", 3},   {"007", 7},
        {"", 0},        {"abc", 0},           {"- 5", 0},      {"--5", 0},  {"+-5", 0},
        {"1 2", 1},     {"2147483647", INT32_MAX},             {"-2147483648", INT32_MIN},
    };
    for (const auto& c : cases) EXPECT_EQ(ReadLeadingNumber(c.text), c.value) << '"' << c.text << '"';
}

TEST(ReadLeadingNumber, ClampsNumbersBeyond32Bits)
{
    EXPECT_EQ(ReadLeadingNumber("2147483648"), INT32_MAX);
    EXPECT_EQ(ReadLeadingNumber("99999999999"), INT32_MAX);
    EXPECT_EQ(ReadLeadingNumber("  123456789012345678901234567890]"), INT32_MAX);
    EXPECT_EQ(ReadLeadingNumber("-2147483649"), INT32_MIN);
    EXPECT_EQ(ReadLeadingNumber("-99999999999x"), INT32_MIN);
}

}  // namespace
}  // namespace Orvik
