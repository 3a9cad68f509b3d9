#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/support/code_page_scope.h"
#include "tests/util/helper_host.h"
#include "util/bootstrap_helpers.h"

using Orvik::Testing::CodePageScope;
using OrvikTest::HelperHost;

namespace {

// The operations that exist in both forms: the bootstrap's free functions
// and FileOperator (whose base directory is "C:\base" here).
struct PathForm {
    const char* name;
    int (*isRelative)(const char*);
    const char* (*lastSeparator)(const char*);
    int (*joinToProfile)(const char*, const char*, char*, int);
};

void PrintTo(const PathForm& form, std::ostream* out) { *out << form.name; }

class SharedPathTest : public ::testing::TestWithParam<PathForm> {
protected:
    static long Offset(const char* text, const char* found)
    {
        return found == nullptr ? -1 : static_cast<long>(found - text);
    }
};

TEST_P(SharedPathTest, ColonOrLeadingBackslashMakesAPathAbsolute)
{
    for (const char* path : {static_cast<const char*>(nullptr), "", "a.ini", ".\\a.ini", "/a.ini"}) {
        EXPECT_EQ(1, GetParam().isRelative(path)) << (path ? path : "null");
    }
    for (const char* path : {"C:", "C:\\a", "\\a", "\\\\server\\share", "a:b"}) {
        EXPECT_EQ(0, GetParam().isRelative(path)) << path;
    }
}

TEST_P(SharedPathTest, LastSeparatorPrefersTheBackslash)
{
    const char path[] = "a/b\\c/d";
    EXPECT_EQ(3, Offset(path, GetParam().lastSeparator(path)));
    EXPECT_EQ(1, Offset("a/b", GetParam().lastSeparator("a/b")));
    EXPECT_EQ(nullptr, GetParam().lastSeparator("abc"));
    EXPECT_EQ(nullptr, GetParam().lastSeparator(nullptr));
}

TEST_P(SharedPathTest, LastSeparatorSkipsTrailBytes)
{
    const char path[] = "dir\\\x95\x5C";
    {
        CodePageScope japanese(932);
        ASSERT_TRUE(japanese.ok());
        EXPECT_EQ(3, Offset(path, GetParam().lastSeparator(path)));
    }
    CodePageScope single(Orvik::Platform::kSingleByteCodePage);
    EXPECT_EQ(5, Offset(path, GetParam().lastSeparator(path)));
}

TEST_P(SharedPathTest, JoinToProfileDirectoryPlacesTheNameBesideTheProfile)
{
    char dst[260];
    EXPECT_EQ(1, GetParam().joinToProfile("a/b\\c/d", "x", dst, sizeof dst));
    EXPECT_STREQ("a/b\\x", dst);
    EXPECT_EQ(1, GetParam().joinToProfile("C:\\App\\Orvik.ini", "Conf\\a.ini", dst, sizeof dst));
    EXPECT_STREQ("C:\\App\\Conf\\a.ini", dst);
    EXPECT_EQ(1, GetParam().joinToProfile("conf/a.ini", "x", dst, sizeof dst));
    EXPECT_STREQ("conf/x", dst);
    EXPECT_EQ(1, GetParam().joinToProfile("conf.ini", "x", dst, sizeof dst));
    EXPECT_STREQ("conf.ini\\x", dst);
}

TEST_P(SharedPathTest, JoinToProfileDirectoryLeavesOutPiecesThatDoNotFit)
{
    char dst[8];
    EXPECT_EQ(1, GetParam().joinToProfile("C:\\long\\dir\\p.ini", "x", dst, sizeof dst));
    EXPECT_STREQ("x", dst);
    EXPECT_EQ(1, GetParam().joinToProfile("profile.ini", "x", dst, sizeof dst));
    EXPECT_STREQ("\\x", dst);
    EXPECT_EQ(1, GetParam().joinToProfile("C:\\p.ini", "toolong", dst, sizeof dst));
    EXPECT_STREQ("C:\\", dst);

    std::strcpy(dst, "old");
    EXPECT_EQ(0, GetParam().joinToProfile(nullptr, "x", dst, sizeof dst));
    EXPECT_EQ(0, GetParam().joinToProfile("p", nullptr, dst, sizeof dst));
    EXPECT_EQ(0, GetParam().joinToProfile("p", "x", dst, 0));
    EXPECT_STREQ("old", dst);
    EXPECT_EQ(0, GetParam().joinToProfile("p", "x", nullptr, 8));
}

TEST_P(SharedPathTest, JoinToProfileDirectorySkipsTrailBytes)
{
    CodePageScope japanese(932);
    ASSERT_TRUE(japanese.ok());
    char dst[260];
    EXPECT_EQ(1, GetParam().joinToProfile("C:\\d\\\x95\x5C.ini", "x", dst, sizeof dst));
    EXPECT_STREQ("C:\\d\\x", dst);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, SharedPathTest,
    ::testing::Values(
        PathForm{"Bootstrap", &Orvik::IsRelativePath, &Orvik::GetLastSeparator,
                 &Orvik::JoinToProfileDirectory},
        PathForm{"Template", [](const char* p) { return HelperHost().IsRelativePath(p); },
                 [](const char* p) { return HelperHost().GetLastSeparator(p); },
                 [](const char* profile, const char* name, char* dst, int size) {
                     return HelperHost().JoinToProfileDirectory(profile, name, dst, size);
                 }}),
    [](const ::testing::TestParamInfo<PathForm>& info) { return std::string(info.param.name); });

TEST(JoinToBaseDirectoryTest, JoinsWithTheBaseDirectoryAndCuts)
{
    const HelperHost host("C:\\base");
    char dst[260];
    EXPECT_EQ(1, host.JoinToBaseDirectory("Orvik.ini", dst, sizeof dst));
    EXPECT_STREQ("C:\\base\\Orvik.ini", dst);

    char small[8];
    EXPECT_EQ(1, host.JoinToBaseDirectory("Orvik.ini", small, sizeof small));
    EXPECT_STREQ("C:\\base", small);
    EXPECT_EQ(1, host.JoinToBaseDirectory("x", small, 2));
    EXPECT_STREQ("C", small);

    std::strcpy(small, "old");
    EXPECT_EQ(0, host.JoinToBaseDirectory("x", small, 1));
    EXPECT_EQ(0, host.JoinToBaseDirectory(nullptr, small, sizeof small));
    EXPECT_STREQ("old", small);
    EXPECT_EQ(0, host.JoinToBaseDirectory("x", nullptr, 8));
}

TEST(JoinToBaseDirectoryTest, BootstrapJoinsWithTheHostDirectory)
{
    char dst[260];
    EXPECT_EQ(1, Orvik::JoinToBaseDirectory("Orvik.ini", dst, sizeof dst));
    EXPECT_EQ(std::string(Orvik::GetHostDirectory()) + "\\Orvik.ini", dst);
}

TEST(MakeAbsolutePathTest, CompletesRelativePathsAndCopiesAbsoluteOnes)
{
    const HelperHost host("C:\\base");
    char dst[12] = "old";
    EXPECT_EQ(1, host.MakeAbsolutePath("a.ini", dst, sizeof dst));
    EXPECT_STREQ("C:\\base\\a.i", dst);
    EXPECT_EQ(1, host.MakeAbsolutePath("D:\\x.ini", dst, sizeof dst));
    EXPECT_STREQ("D:\\x.ini", dst);

    EXPECT_EQ(0, host.MakeAbsolutePath("D:\\too\\long.ini", dst, sizeof dst));
    EXPECT_STREQ("D:\\x.ini", dst);
}

TEST(JoinDirectoryNameTest, JoinsWithOneBackslashOrTakesTheNameAlone)
{
    char dst[16];
    Orvik::JoinDirectoryName("dir", "x.dll", dst, sizeof dst);
    EXPECT_STREQ("dir\\x.dll", dst);
    Orvik::JoinDirectoryName("dir\\", "x.dll", dst, sizeof dst);
    EXPECT_STREQ("dir\\\\x.dll", dst);
    Orvik::JoinDirectoryName(" \t", "x.dll", dst, sizeof dst);
    EXPECT_STREQ("x.dll", dst);
    Orvik::JoinDirectoryName(nullptr, "x.dll", dst, sizeof dst);
    EXPECT_STREQ("x.dll", dst);
}

TEST(JoinDirectoryNameTest, LeavesOutPiecesThatDoNotFit)
{
    char dst[8] = "old";
    Orvik::JoinDirectoryName("C:\\long\\dir", "x", dst, sizeof dst);
    EXPECT_STREQ("\\x", dst);
    Orvik::JoinDirectoryName("", "too-long", dst, sizeof dst);
    EXPECT_STREQ("", dst);
    std::strcpy(dst, "old");
    Orvik::JoinDirectoryName("dir", "x", dst, 0);
    EXPECT_STREQ("old", dst);
    Orvik::JoinDirectoryName("dir", "x", nullptr, 8);
}

TEST(JoinPathTest, AddsABackslashOnlyWhenTheDirectoryLacksOne)
{
    const HelperHost host;
    char dst[32];
    EXPECT_EQ(1, host.JoinPath("C:\\dir\\", "x.dll", dst, sizeof dst));
    EXPECT_STREQ("C:\\dir\\x.dll", dst);
    EXPECT_EQ(1, host.JoinPath("C:\\dir", "x.dll", dst, sizeof dst));
    EXPECT_STREQ("C:\\dir\\x.dll", dst);
    EXPECT_EQ(1, host.JoinPath("C:/dir/", "x.dll", dst, sizeof dst));
    EXPECT_STREQ("C:/dir/\\x.dll", dst);
    EXPECT_EQ(1, host.JoinPath("", "x.dll", dst, sizeof dst));
    EXPECT_STREQ("\\x.dll", dst);
}

TEST(JoinPathTest, ATrailByteIsNoTrailingBackslash)
{
    CodePageScope japanese(932);
    ASSERT_TRUE(japanese.ok());
    char dst[32];
    EXPECT_EQ(1, HelperHost().JoinPath("C:\\\x95\x5C", "x", dst, sizeof dst));
    EXPECT_STREQ("C:\\\x95\x5C\\x", dst);
}

TEST(JoinPathTest, FailsOnACutAndKeepsTheCutText)
{
    const HelperHost host;
    char dst[8] = "old";
    EXPECT_EQ(0, host.JoinPath("C:\\dir", "x.dll", dst, sizeof dst));
    EXPECT_STREQ("C:\\dir\\", dst);

    std::strcpy(dst, "old");
    EXPECT_EQ(0, host.JoinPath(nullptr, "x", dst, sizeof dst));
    EXPECT_EQ(0, host.JoinPath("d", nullptr, dst, sizeof dst));
    EXPECT_EQ(0, host.JoinPath("d", "x", dst, 0));
    EXPECT_STREQ("old", dst);
}

TEST(GetFileNamePartTest, TakesTheTextAfterTheLastSeparator)
{
    const HelperHost host;
    char dst[16];
    EXPECT_EQ(1, host.GetFileNamePart("C:\\dir/sub\\x.dll", dst, sizeof dst));
    EXPECT_STREQ("x.dll", dst);
    // The backslash wins over a later slash.
    EXPECT_EQ(1, host.GetFileNamePart("a\\b/c.dll", dst, sizeof dst));
    EXPECT_STREQ("b/c.dll", dst);
    EXPECT_EQ(1, host.GetFileNamePart("dir/c.dll", dst, sizeof dst));
    EXPECT_STREQ("c.dll", dst);
    EXPECT_EQ(1, host.GetFileNamePart("c.dll", dst, sizeof dst));
    EXPECT_STREQ("c.dll", dst);
    EXPECT_EQ(1, host.GetFileNamePart("dir\\", dst, sizeof dst));
    EXPECT_STREQ("", dst);
}

TEST(GetFileNamePartTest, RefusesANameThatDoesNotFit)
{
    const HelperHost host;
    char dst[4] = "old";
    EXPECT_EQ(0, host.GetFileNamePart("C:\\name.dll", dst, sizeof dst));
    EXPECT_EQ(0, host.GetFileNamePart(nullptr, dst, sizeof dst));
    EXPECT_EQ(0, host.GetFileNamePart("x", dst, 0));
    EXPECT_STREQ("old", dst);
}

TEST(GetParentDirectoryTest, DropsTheLastSeparatorAndWhatFollows)
{
    const HelperHost host("C:\\base");
    char dst[260];
    EXPECT_EQ(1, host.GetParentDirectory("C:\\root\\Log\\", dst, sizeof dst));
    EXPECT_STREQ("C:\\root\\Log", dst);
    EXPECT_EQ(1, host.GetParentDirectory("C:\\root\\Log\\a.log", dst, sizeof dst));
    EXPECT_STREQ("C:\\root\\Log", dst);
    EXPECT_EQ(1, host.GetParentDirectory("C:\\a\\c/d", dst, sizeof dst));
    EXPECT_STREQ("C:\\a\\c", dst);
    EXPECT_EQ(1, host.GetParentDirectory("C:/a/b", dst, sizeof dst));
    EXPECT_STREQ("C:/a", dst);
}

TEST(GetParentDirectoryTest, CompletesARelativeNameWithTheBaseDirectory)
{
    const HelperHost host("C:\\base");
    char dst[260];
    EXPECT_EQ(1, host.GetParentDirectory("name.ini", dst, sizeof dst));
    EXPECT_STREQ("C:\\base", dst);
    EXPECT_EQ(1, host.GetParentDirectory("sub\\name.ini", dst, sizeof dst));
    EXPECT_STREQ("C:\\base\\sub", dst);
}

TEST(GetParentDirectoryTest, FailsWithoutAParentOrRoom)
{
    const HelperHost host("C:\\base");
    char dst[8] = "old";
    EXPECT_EQ(0, host.GetParentDirectory("\\file", dst, sizeof dst));
    EXPECT_EQ(0, host.GetParentDirectory("C:file", dst, sizeof dst));
    EXPECT_EQ(0, host.GetParentDirectory("C:\\root\\Log\\a.log", dst, sizeof dst));
    EXPECT_EQ(0, host.GetParentDirectory(("C:\\" + std::string(260, 'x')).c_str(), dst, sizeof dst));
    EXPECT_STREQ("old", dst);
}

TEST(GetParentDirectoryTest, SkipsTrailBytes)
{
    CodePageScope japanese(932);
    ASSERT_TRUE(japanese.ok());
    char dst[260];
    EXPECT_EQ(1, HelperHost().GetParentDirectory("C:\\dir\\\x95\x5C", dst, sizeof dst));
    EXPECT_STREQ("C:\\dir", dst);
}

TEST(IsValidPathCharsTest, RejectsTheSixReservedCharacters)
{
    const HelperHost host;
    for (const char* path : {"C:\\a<b", "C:\\a>b", "C:\\a\"b", "C:\\a|b", "C:\\a*b", "C:\\a?b"}) {
        EXPECT_EQ(0, host.IsValidPathChars(path)) << path;
    }
    EXPECT_EQ(0, host.IsValidPathChars(nullptr));
    EXPECT_EQ(1, host.IsValidPathChars("C:\\dir/sub\\file.log"));
    EXPECT_EQ(1, host.IsValidPathChars(""));
}

TEST(IsLaterFileTimeTest, OnlyAStrictlyLaterTimeIsLater)
{
    const HelperHost host;
    const Orvik::Platform::FileTime t{0x10, 0x20};
    EXPECT_EQ(0, host.IsLaterFileTime(t, t));
    EXPECT_EQ(1, host.IsLaterFileTime({0x11, 0x20}, t));
    EXPECT_EQ(1, host.IsLaterFileTime({0x00, 0x21}, t));
    EXPECT_EQ(0, host.IsLaterFileTime(t, {0xFFFFFFFF, 0x20}));
    EXPECT_EQ(0, host.IsLaterFileTime({0xFFFFFFFF, 0x1F}, t));
}

}  // namespace
