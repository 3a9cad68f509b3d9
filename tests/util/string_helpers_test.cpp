#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/support/code_page_scope.h"
#include "tests/util/helper_host.h"
#include "util/bootstrap_helpers.h"

using Orvik::Testing::CodePageScope;
using OrvikTest::HelperHost;

namespace {

// The copying helpers exist as template operations and as bootstrap free
// functions; every case runs through both.
struct CopyForm {
    const char* name;
    int (*copy)(char*, int, const char*);
    int (*append)(char*, int, const char*);
    int (*copyN)(char*, int, const char*, int);
};

void PrintTo(const CopyForm& form, std::ostream* out) { *out << form.name; }

class BoundedCopyTest : public ::testing::TestWithParam<CopyForm> {};

TEST_P(BoundedCopyTest, CopyStringTakesWholeSourceOrNothing)
{
    char dst[8] = "old";
    EXPECT_EQ(1, GetParam().copy(dst, 8, "1234567"));
    EXPECT_STREQ("1234567", dst);

    std::strcpy(dst, "old");
    EXPECT_EQ(0, GetParam().copy(dst, 8, "12345678"));
    EXPECT_STREQ("old", dst);
    EXPECT_EQ(0, GetParam().copy(dst, 0, ""));
    EXPECT_EQ(0, GetParam().copy(dst, 8, nullptr));
    EXPECT_STREQ("old", dst);
    EXPECT_EQ(0, GetParam().copy(nullptr, 8, "x"));

    EXPECT_EQ(1, GetParam().copy(dst, 1, ""));
    EXPECT_STREQ("", dst);
}

TEST_P(BoundedCopyTest, AppendStringRefusesWhatDoesNotFit)
{
    char dst[6] = "abc";
    EXPECT_EQ(1, GetParam().append(dst, 6, "de"));
    EXPECT_STREQ("abcde", dst);

    std::strcpy(dst, "abc");
    EXPECT_EQ(0, GetParam().append(dst, 6, "def"));
    EXPECT_STREQ("abc", dst);
    EXPECT_EQ(0, GetParam().append(dst, 6, nullptr));
    EXPECT_EQ(0, GetParam().append(dst, 0, ""));
    EXPECT_STREQ("abc", dst);
    EXPECT_EQ(0, GetParam().append(nullptr, 6, "x"));
}

TEST_P(BoundedCopyTest, CopyStringNCopiesAPrefixAndEndsItAtN)
{
    char dst[10];
    std::memset(dst, '#', sizeof dst);
    EXPECT_EQ(1, GetParam().copyN(dst, 10, "abcdef", 3));
    EXPECT_EQ(std::string("abc\0#", 5), std::string(dst, 5));

    EXPECT_EQ(1, GetParam().copyN(dst, 10, "ab", 5));
    EXPECT_STREQ("ab", dst);

    std::strcpy(dst, "old");
    EXPECT_EQ(0, GetParam().copyN(dst, 3, "abcdef", 3));
    EXPECT_EQ(0, GetParam().copyN(dst, 10, "abcdef", 0));
    EXPECT_EQ(0, GetParam().copyN(dst, 10, nullptr, 3));
    EXPECT_STREQ("old", dst);
    EXPECT_EQ(0, GetParam().copyN(nullptr, 10, "abc", 3));
}

TEST_P(BoundedCopyTest, CopyStringNNeverSplitsADoubleByteCharacter)
{
    CodePageScope japanese(932);
    ASSERT_TRUE(japanese.ok());
    char dst[10];
    EXPECT_EQ(1, GetParam().copyN(dst, 10, "ab\x95\x41" "c", 3));
    EXPECT_STREQ("ab", dst);
    EXPECT_EQ(1, GetParam().copyN(dst, 10, "ab\x95\x41" "c", 4));
    EXPECT_STREQ("ab\x95\x41", dst);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, BoundedCopyTest,
    ::testing::Values(CopyForm{"Template", &HelperHost::CopyString, &HelperHost::AppendString,
                               &HelperHost::CopyStringN},
                      CopyForm{"Bootstrap", &Orvik::CopyString, &Orvik::AppendString,
                               &Orvik::CopyStringN}),
    [](const ::testing::TestParamInfo<CopyForm>& info) { return std::string(info.param.name); });

TEST(FormatStringTest, CutsAtTheBufferAndReportsTheCutUnlessAllowed)
{
    char dst[8];
    EXPECT_EQ(0, HelperHost::FormatString(dst, 8, 0, "%s", "0123456789"));
    EXPECT_STREQ("0123456", dst);
    EXPECT_EQ(1, HelperHost::FormatString(dst, 8, 1, "%s", "0123456789"));
    EXPECT_STREQ("0123456", dst);

    EXPECT_EQ(1, HelperHost::FormatString(dst, 8, 0, "%s-%d", "ab", 1234));
    EXPECT_STREQ("ab-1234", dst);
}

TEST(FormatStringTest, RefusesWithoutWritingWhenArgumentsAreMissing)
{
    char dst[8] = "old";
    EXPECT_EQ(0, HelperHost::FormatString(dst, 0, 1, "%s", "x"));
    EXPECT_EQ(0, HelperHost::FormatString(dst, -1, 1, "%s", "x"));
    EXPECT_EQ(0, HelperHost::FormatString(dst, 8, 1, nullptr));
    EXPECT_STREQ("old", dst);
    EXPECT_EQ(0, HelperHost::FormatString(nullptr, 8, 1, "x"));
}

TEST(TrimSpacesTest, RemovesOuterSpacesOnly)
{
    char dst[10];
    EXPECT_EQ(3, HelperHost::TrimSpaces("  a b  ", dst, 10));
    EXPECT_STREQ("a b", dst);
    EXPECT_EQ(3, HelperHost::TrimSpaces("\ta\t", dst, 10));
    EXPECT_STREQ("\ta\t", dst);
}

TEST(TrimSpacesTest, EmptiesTheDestinationWhenNothingIsKeptOrItDoesNotFit)
{
    char dst[10] = "stale";
    EXPECT_EQ(0, HelperHost::TrimSpaces("   ", dst, 10));
    EXPECT_STREQ("", dst);

    std::strcpy(dst, "stale");
    EXPECT_EQ(0, HelperHost::TrimSpaces("abc", dst, 3));
    EXPECT_STREQ("", dst);
    EXPECT_EQ(3, HelperHost::TrimSpaces(" abc ", dst, 4));
    EXPECT_STREQ("abc", dst);
}

TEST(TrimSpacesTest, LeavesTheDestinationAloneForMissingArguments)
{
    char dst[10] = "old";
    EXPECT_EQ(0, HelperHost::TrimSpaces(nullptr, dst, 10));
    EXPECT_EQ(0, HelperHost::TrimSpaces("a", dst, 0));
    EXPECT_STREQ("old", dst);
    EXPECT_EQ(0, HelperHost::TrimSpaces("a", nullptr, 10));
}

TEST(TrimSpacesTest, TrimsInPlace)
{
    char text[] = "   name = value  ";
    EXPECT_EQ(12, HelperHost::TrimSpaces(text, text, sizeof text));
    EXPECT_STREQ("name = value", text);
}

TEST(IsBlankStringTest, OnlySpacesAreBlank)
{
    EXPECT_EQ(1, HelperHost::IsBlankString(nullptr));
    EXPECT_EQ(1, HelperHost::IsBlankString(""));
    EXPECT_EQ(1, HelperHost::IsBlankString("   "));
    EXPECT_EQ(0, HelperHost::IsBlankString("\t"));
    EXPECT_EQ(0, HelperHost::IsBlankString(" x "));
}

TEST(IsBlankStringTest, TextTooLongForItsBufferCountsAsBlank)
{
    EXPECT_EQ(0, HelperHost::IsBlankString(std::string(1023, 'a').c_str()));
    EXPECT_EQ(1, HelperHost::IsBlankString(std::string(1024, 'a').c_str()));
}

TEST(TrimBlanksTest, RemovesOuterSpacesAndTabsAndKeepsInnerOnes)
{
    char dst[260];
    Orvik::TrimBlanks("  C:\\Program Files\\App  ", dst, sizeof dst);
    EXPECT_STREQ("C:\\Program Files\\App", dst);
    Orvik::TrimBlanks("\t x \t", dst, sizeof dst);
    EXPECT_STREQ("x", dst);
    Orvik::TrimBlanks("x", dst, sizeof dst);
    EXPECT_STREQ("x", dst);
}

TEST(TrimBlanksTest, BlankTextIsCopiedUnchanged)
{
    char dst[10];
    Orvik::TrimBlanks("   ", dst, sizeof dst);
    EXPECT_STREQ("   ", dst);
    Orvik::TrimBlanks("", dst, sizeof dst);
    EXPECT_STREQ("", dst);
}

TEST(TrimBlanksTest, AValueThatDoesNotFitLeavesTheDestinationEmpty)
{
    char dst[4] = "old";
    Orvik::TrimBlanks(" abcd ", dst, sizeof dst);
    EXPECT_STREQ("", dst);
    std::strcpy(dst, "old");
    Orvik::TrimBlanks("abcd", dst, sizeof dst);
    EXPECT_STREQ("", dst);
    Orvik::TrimBlanks(" abc ", dst, sizeof dst);
    EXPECT_STREQ("abc", dst);
}

TEST(IsBlankTest, SpacesAndTabsAreBlank)
{
    EXPECT_EQ(1, Orvik::IsBlank(nullptr));
    EXPECT_EQ(1, Orvik::IsBlank(""));
    EXPECT_EQ(1, Orvik::IsBlank("\t "));
    EXPECT_EQ(0, Orvik::IsBlank(" \tx"));
}

}  // namespace
