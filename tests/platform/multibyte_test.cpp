#include "platform/multibyte.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace Platform = Orvik::Platform;

namespace {

constexpr int kJapanese = 932;
constexpr int kSingle = Platform::kSingleByteCodePage;

// "a", a double-byte character whose trail byte is 0x5C, "b", a real
// backslash, "c": offsets 0, 1-2, 3, 4, 5.
const char kTrailBackslash[] = "a\x95\x5C" "b\\c";

class MultibyteTest : public ::testing::Test {
protected:
    void TearDown() override { Platform::SelectCodePage(Platform::kStartupCodePage); }
    static void Select(int codePage) { ASSERT_TRUE(Platform::SelectCodePage(codePage)); }
    static long Offset(const char* text, const char* found) { return found ? static_cast<long>(found - text) : -1; }
};

TEST_F(MultibyteTest, TheSelectedCodePageDecidesTheLeadBytes)
{
    for (int codePage : {1252, Platform::kStartupCodePage}) EXPECT_TRUE(Platform::SelectCodePage(codePage)) << codePage;
    Select(kJapanese);
    for (int byte : {0x81, 0x9F, 0xE0, 0xFC}) EXPECT_TRUE(Platform::IsLeadByte(byte)) << byte;
    for (int byte : {0x00, 0x5C, 0x80, 0xA0, 0xDF, 0xFD, 0xFF}) EXPECT_FALSE(Platform::IsLeadByte(byte)) << byte;
    EXPECT_FALSE(Platform::SelectCodePage(12345));
    EXPECT_TRUE(Platform::IsLeadByte(0x81)) << "932 stays selected";
    for (int codePage : {936, 949, 950}) {
        Select(codePage);
        for (int byte : {0x80, 0x81, 0xFE, 0xFF}) {
            EXPECT_EQ(byte == 0x81 || byte == 0xFE, Platform::IsLeadByte(byte)) << codePage << ' ' << byte;
        }
    }
    Select(kSingle);
    for (int byte = 0; byte < 256; ++byte) EXPECT_FALSE(Platform::IsLeadByte(byte)) << byte;
}

TEST_F(MultibyteTest, SearchesNeverMatchATrailByteUnderADoubleByteCodePage)
{
    const char* text = kTrailBackslash;
    Select(kJapanese);
    EXPECT_EQ(nullptr, Platform::FindLastCharacter("\x95\x5C", '\\'));
    EXPECT_EQ(4, Offset(text, Platform::FindCharacter(text, '\\')));
    EXPECT_EQ(4, Offset(text, Platform::FindLastCharacter(text, '\\')));
    EXPECT_EQ(4, Offset(text, Platform::FindSubstring(text, "\\")));
    EXPECT_EQ(-1, Offset(text, Platform::FindSubstring(text, "\\b")));
    EXPECT_EQ(1, Offset(text, Platform::FindCharacter(text, 0x955C)));
    EXPECT_EQ(1, Offset(text, Platform::FindLastCharacter(text, 0x955C)));
    EXPECT_EQ(1, Offset(text, Platform::FindSubstring(text, "\x95\x5C" "b")));

    Select(kSingle);
    EXPECT_EQ(2, Offset(text, Platform::FindCharacter(text, '\\')));
    EXPECT_EQ(4, Offset(text, Platform::FindLastCharacter(text, '\\')));
    EXPECT_EQ(2, Offset(text, Platform::FindSubstring(text, "\\b")));
    // Only the low byte of a character counts here.
    EXPECT_EQ(2, Offset(text, Platform::FindCharacter(text, 0x955C)));
    EXPECT_EQ(4, Offset(text, Platform::FindLastCharacter(text, 0x955C)));
}

TEST_F(MultibyteTest, SearchesFindTheTerminatorAndTheEmptyPart)
{
    for (int codePage : {kJapanese, kSingle}) {
        Select(codePage);
        const char text[] = "x/y/z";
        EXPECT_EQ(5, Offset(text, Platform::FindCharacter(text, 0))) << codePage;
        EXPECT_EQ(5, Offset(text, Platform::FindLastCharacter(text, 0))) << codePage;
        EXPECT_EQ(0, Offset(text, Platform::FindSubstring(text, ""))) << codePage;
        EXPECT_EQ(-1, Offset(text, Platform::FindCharacter(text, 'q'))) << codePage;
        EXPECT_EQ(-1, Offset(text, Platform::FindLastCharacter(text, 'q'))) << codePage;
        EXPECT_EQ(-1, Offset(text, Platform::FindSubstring(text, "z/"))) << codePage;
        EXPECT_EQ(-1, Offset(text, Platform::FindSubstring("", "x"))) << codePage;
    }
}

TEST_F(MultibyteTest, ComparisonsFoldOnlySingleByteLettersAndOrderWholeCharacters)
{
    for (int codePage : {kJapanese, kSingle}) {
        Select(codePage);
        EXPECT_EQ(0, Platform::CompareIgnoringCase("Orvik.INI", "orvik.ini")) << codePage;
        EXPECT_LT(Platform::CompareText("Orvik.INI", "orvik.ini"), 0) << codePage;
        EXPECT_EQ(0, Platform::CompareText("same", "same")) << codePage;
        EXPECT_LT(Platform::CompareText("ab", "abc"), 0) << codePage;
        EXPECT_GT(Platform::CompareIgnoringCase("ABC", "ab"), 0) << codePage;
        // '_' lies between the upper and the lower case letters.
        EXPECT_LT(Platform::CompareIgnoringCase("_", "A"), 0) << codePage;
        EXPECT_GT(Platform::CompareText("_", "A"), 0) << codePage;
    }
    // 0x9541 is a character, so its second byte is no letter to fold; a
    // double-byte character orders after every single-byte one.
    Select(kJapanese);
    EXPECT_LT(Platform::CompareIgnoringCase("\x95\x41", "\x95\x61"), 0);
    EXPECT_LT(Platform::CompareText("\xB0", "\x95\x41"), 0);
    Select(kSingle);
    EXPECT_EQ(0, Platform::CompareIgnoringCase("\x95\x41", "\x95\x61"));
    EXPECT_GT(Platform::CompareText("\xB0", "\x95\x41"), 0);
}

TEST_F(MultibyteTest, LowerCaseLeavesTrailBytesAlone)
{
    Select(kJapanese);
    char text[] = "AB\x95\x41Z";
    EXPECT_EQ(text, Platform::LowerCaseInPlace(text));
    EXPECT_STREQ("ab\x95\x41z", text);

    Select(kSingle);
    char single[] = "AB\x95\x41Z";
    Platform::LowerCaseInPlace(single);
    EXPECT_STREQ("ab\x95\x61z", single);
}

TEST_F(MultibyteTest, BoundedCopyPadsAndNeverEndsOnACutCharacter)
{
    const char source[] = "ab\x95\x41xyz";
    const struct {
        int codePage;
        const char* source;
        size_t count;
        std::string bytes;  // the buffer's first bytes afterwards; it starts as '#'s
    } cases[] = {
        {kJapanese, source, 3, std::string("ab\0#", 4)},
        {kJapanese, source, 4, "ab\x95\x41#"},
        {kJapanese, "ab", 6, std::string("ab\0\0\0\0#", 7)},
        {kJapanese, "ab\x95", 6, std::string("ab\0\0\0\0#", 7)},  // a lead byte before the terminator goes too
        {kJapanese, source, 0, "#"},
        {kSingle, source, 3, "ab\x95#"},
    };
    for (const auto& c : cases) {
        Select(c.codePage);
        char buffer[10];
        std::memset(buffer, '#', sizeof buffer);
        EXPECT_EQ(buffer, Platform::CopyBytesBounded(buffer, c.source, c.count));
        EXPECT_EQ(c.bytes, std::string(buffer, c.bytes.size())) << c.codePage << ' ' << c.source << ' ' << c.count;
    }
}

// Malformed text: a lead byte right before the terminator. Wine's run-time
// reads on past the terminator here, so only the POSIX answers are checked.
TEST_F(MultibyteTest, LeadByteBeforeTerminatorEndsTheText)
{
#ifdef _WIN32
    GTEST_SKIP() << "Wine's multibyte searches read past the terminator here";
#endif
    Select(kJapanese);
    const char text[] = "ab\x95";
    EXPECT_EQ(-1, Offset(text, Platform::FindCharacter(text, 'x')));
    EXPECT_EQ(-1, Offset(text, Platform::FindCharacter(text, 0)));
    EXPECT_EQ(0, Offset(text, Platform::FindLastCharacter(text, 'a')));
    EXPECT_EQ(3, Offset(text, Platform::FindLastCharacter(text, 'x')));
    EXPECT_EQ(-1, Offset(text, Platform::FindSubstring(text, "x")));
    EXPECT_EQ(0, Platform::CompareText(text, "ab"));
    char lower[] = "A\x95";
    Platform::LowerCaseInPlace(lower);
    EXPECT_EQ(std::string("a\x95\0", 3), std::string(lower, 3));
}

}  // namespace
