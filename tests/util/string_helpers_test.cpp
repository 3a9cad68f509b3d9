#include <gtest/gtest.h>

#include <string>

#include "tests/support/code_page_scope.h"
#include "tests/util/helper_cases.h"
#include "tests/util/helper_host.h"
#include "orvik/util/bootstrap_helpers.h"

using Orvik::Testing::CodePageScope;
using namespace Orvik::Testing;

namespace {

// The copying helpers exist as template operations and as bootstrap free
// functions; every case runs through both.
template <int (*F)(char*, int, const char*)>
int Copying(const char* a, const char*, int, char* dst, int size) { return F(dst, size, a); }
template <int (*F)(char*, int, const char*, int)>
int CopyingN(const char* a, const char*, int n, char* dst, int size) { return F(dst, size, a, n); }
// a is the argument of format b; n allows a cut.
int Format(const char* a, const char* b, int n, char* dst, int size) { return HelperHost::FormatString(dst, size, n, b, a); }
int TrimSpaces(const char* a, const char*, int, char* dst, int size) { return HelperHost::TrimSpaces(a, dst, size); }
// Has no result of its own: its rows expect 1.
int TrimBlanks(const char* a, const char*, int, char* dst, int size) { return Orvik::TrimBlanks(a, dst, size), 1; }

const HelperOp kCopy{"CopyString", {Copying<&HelperHost::CopyString>, Copying<&Orvik::CopyString>}};
const HelperOp kAppend{"AppendString", {Copying<&HelperHost::AppendString>, Copying<&Orvik::AppendString>}};
const HelperOp kCopyN{"CopyStringN", {CopyingN<&HelperHost::CopyStringN>, CopyingN<&Orvik::CopyStringN>}};
const HelperOp kFormat{"FormatString", {Format}};
const HelperOp kTrimSpaces{"TrimSpaces", {TrimSpaces}};
const HelperOp kTrimBlanks{"TrimBlanks", {nullptr, TrimBlanks}};

const HelperCase kCases[] = {
    {&kCopy, "1234567", nullptr, 8, 1, "1234567"},
    {&kCopy, "12345678", nullptr, 8, 0, "old"},
    {&kCopy, "", nullptr, 1, 1, ""},
    {&kCopy, "", nullptr, 0, 0, "old"},
    {&kCopy, nullptr, nullptr, 8, 0, "old"},
    {&kAppend, "de", nullptr, 6, 1, "oldde"},
    {&kAppend, "def", nullptr, 6, 0, "old"},
    {&kAppend, "", nullptr, 0, 0, "old"},
    {&kAppend, nullptr, nullptr, 6, 0, "old"},
    {&kCopyN, "abcdef", nullptr, 4, 1, "abc", 3},
    {&kCopyN, "abcdef", nullptr, 3, 0, "old", 3},
    {&kCopyN, "ab", nullptr, 10, 1, "ab", 5},
    {&kCopyN, "abcdef", nullptr, 10, 0, "old", 0},
    {&kCopyN, nullptr, nullptr, 10, 0, "old", 3},
    // Code page 932: 0x95 0x41 is one character, never split.
    {&kCopyN, "ab\x95\x41" "c", nullptr, 10, 1, "ab", 3},
    {&kCopyN, "ab\x95\x41" "c", nullptr, 10, 1, "ab\x95\x41", 4},

    {&kFormat, "ab-1234", "%s", 8, 1, "ab-1234"},
    {&kFormat, "ab-12345", "%s", 8, 0, "ab-1234"},
    {&kFormat, "ab-12345", "%s", 8, 1, "ab-1234", 1},
    {&kFormat, "x", "%s", 0, 0, "old", 1},
    {&kFormat, "x", "%s", -1, 0, "old", 1},
    {&kFormat, "x", nullptr, 8, 0, "old", 1},

    // Spaces go, tabs stay; the destination empties when nothing is left
    // or the text does not fit.
    {&kTrimSpaces, "  a b  ", nullptr, 10, 3, "a b"},
    {&kTrimSpaces, "\ta\t", nullptr, 10, 3, "\ta\t"},
    {&kTrimSpaces, "   ", nullptr, 10, 0, ""},
    {&kTrimSpaces, " abc ", nullptr, 4, 3, "abc"},
    {&kTrimSpaces, "abc", nullptr, 3, 0, ""},
    {&kTrimSpaces, nullptr, nullptr, 10, 0, "old"},
    {&kTrimSpaces, "a", nullptr, 0, 0, "old"},

    // Spaces and tabs go; blank text is copied as it is.
    {&kTrimBlanks, "  C:\\Program Files\\App  ", nullptr, 32, 1, "C:\\Program Files\\App"},
    {&kTrimBlanks, "\t x \t", nullptr, 32, 1, "x"},
    {&kTrimBlanks, "x", nullptr, 32, 1, "x"},
    {&kTrimBlanks, "   ", nullptr, 32, 1, "   "},
    {&kTrimBlanks, "", nullptr, 32, 1, ""},
    {&kTrimBlanks, " abc ", nullptr, 4, 1, "abc"},
    {&kTrimBlanks, " abcd ", nullptr, 4, 1, ""},
    {&kTrimBlanks, "abcd", nullptr, 4, 1, ""},
};

TEST(StringHelpersTest, WriteTheExpectedTextOrRefuse)
{
    CodePageScope japanese(932);
    ASSERT_TRUE(japanese.ok());
    CheckCases(kCases);
    CheckNullDestinationRefused({&kCopy, &kAppend, &kCopyN, &kFormat, &kTrimSpaces});
}

TEST(StringHelpersTest, TrimSpacesWorksInPlace)
{
    char text[] = "   name = value  ";
    EXPECT_EQ(12, HelperHost::TrimSpaces(text, text, sizeof text));
    EXPECT_STREQ("name = value", text);
}

TEST(StringHelpersTest, IsBlankStringCountsSpacesOnlyAndIsBlankTabsToo)
{
    const std::string fits(1023, 'a'), tooLong(1024, 'a');
    const struct {
        const char* text;
        int blankString;
        int blank;
    } cases[] = {
        {nullptr, 1, 1}, {"", 1, 1},     {"   ", 1, 1},          {"\t ", 0, 1},
        {" x ", 0, 0},   {" \tx", 0, 0}, {fits.c_str(), 0, 0}, {tooLong.c_str(), 1, 0},
    };
    for (const auto& c : cases) {
        const std::string shown = c.text ? std::string(c.text).substr(0, 8) : "null";
        EXPECT_EQ(c.blankString, HelperHost::IsBlankString(c.text)) << shown;
        EXPECT_EQ(c.blank, Orvik::IsBlank(c.text)) << shown;
    }
}

}  // namespace
