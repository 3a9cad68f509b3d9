#include <gtest/gtest.h>

#include <string>

#include "tests/support/code_page_scope.h"
#include "tests/util/helper_cases.h"
#include "tests/util/helper_host.h"
#include "orvik/util/bootstrap_helpers.h"

using Orvik::Testing::CodePageScope;
using namespace Orvik::Testing;

namespace {

const HelperHost kHost("C:\\base");

// Every path operation that writes a result; JoinToProfileDirectory exists
// in both forms and runs through both.
int JoinToProfile(const char* a, const char* b, int, char* d, int s) { return kHost.JoinToProfileDirectory(a, b, d, s); }
int JoinToProfileB(const char* a, const char* b, int, char* d, int s) { return Orvik::JoinToProfileDirectory(a, b, d, s); }
int JoinToBase(const char* a, const char*, int, char* d, int s) { return kHost.JoinToBaseDirectory(a, d, s); }
int MakeAbsolute(const char* a, const char*, int, char* d, int s) { return kHost.MakeAbsolutePath(a, d, s); }
int JoinPath(const char* a, const char* b, int, char* d, int s) { return kHost.JoinPath(a, b, d, s); }
int FileName(const char* a, const char*, int, char* d, int s) { return kHost.GetFileNamePart(a, d, s); }
int Parent(const char* a, const char*, int, char* d, int s) { return kHost.GetParentDirectory(a, d, s); }
// Has no result of its own: its rows expect 1.
int JoinDirectoryName(const char* a, const char* b, int, char* d, int s) { return Orvik::JoinDirectoryName(a, b, d, s), 1; }

const HelperOp kJoinToProfile{"JoinToProfileDirectory", {JoinToProfile, JoinToProfileB}};
const HelperOp kJoinToBase{"JoinToBaseDirectory", {JoinToBase}};
const HelperOp kMakeAbsolute{"MakeAbsolutePath", {MakeAbsolute}};
const HelperOp kJoinPath{"JoinPath", {JoinPath}};
const HelperOp kFileName{"GetFileNamePart", {FileName}};
const HelperOp kParent{"GetParentDirectory", {Parent}};
const HelperOp kJoinDirectoryName{"JoinDirectoryName", {nullptr, JoinDirectoryName}};

const std::string kOverlong = "C:\\" + std::string(260, 'x');
const HelperCase kPathCases[] = {
    {&kJoinToProfile, "a/b\\c/d", "x", 32, 1, "a/b\\x"},
    {&kJoinToProfile, "conf/a.ini", "x", 32, 1, "conf/x"},
    {&kJoinToProfile, "conf.ini", "x", 32, 1, "conf.ini\\x"},
    {&kJoinToProfile, "C:\\long\\dir\\p.ini", "x", 8, 1, "x"},
    {&kJoinToProfile, "profile.ini", "x", 8, 1, "\\x"},
    {&kJoinToProfile, "C:\\p.ini", "abcd", 8, 1, "C:\\abcd"},
    {&kJoinToProfile, "C:\\p.ini", "abcde", 8, 1, "C:\\"},
    {&kJoinToProfile, nullptr, "x", 8, 0, "old"},
    {&kJoinToProfile, "p", nullptr, 8, 0, "old"},
    {&kJoinToProfile, "p", "x", 0, 0, "old"},
    {&kJoinToProfile, "C:\\d\\\x95\x5C.ini", "x", 32, 1, "C:\\d\\x"},

    {&kJoinToBase, "Orvik.ini", nullptr, 32, 1, "C:\\base\\Orvik.ini"},
    {&kJoinToBase, "Orvik.ini", nullptr, 8, 1, "C:\\base"},
    {&kJoinToBase, "x", nullptr, 2, 1, "C"},
    {&kJoinToBase, "x", nullptr, 1, 0, "old"},
    {&kJoinToBase, nullptr, nullptr, 8, 0, "old"},

    {&kMakeAbsolute, "a.ini", nullptr, 12, 1, "C:\\base\\a.i"},
    {&kMakeAbsolute, "D:\\abcdefgh", nullptr, 12, 1, "D:\\abcdefgh"},
    {&kMakeAbsolute, "D:\\abcdefghi", nullptr, 12, 0, "old"},

    {&kJoinDirectoryName, "dir", "x.dll", 16, 1, "dir\\x.dll"},
    {&kJoinDirectoryName, "dir\\", "x.dll", 16, 1, "dir\\\\x.dll"},
    {&kJoinDirectoryName, " \t", "x.dll", 16, 1, "x.dll"},
    {&kJoinDirectoryName, nullptr, "x.dll", 16, 1, "x.dll"},
    {&kJoinDirectoryName, "C:\\long\\dir", "x", 8, 1, "\\x"},
    {&kJoinDirectoryName, "", "too-long", 8, 1, ""},
    {&kJoinDirectoryName, "dir", "x", 0, 1, "old"},

    {&kJoinPath, "C:\\dir\\", "x.dll", 32, 1, "C:\\dir\\x.dll"},
    {&kJoinPath, "C:\\dir", "x.dll", 13, 1, "C:\\dir\\x.dll"},
    {&kJoinPath, "C:\\dir", "x.dll", 12, 0, "C:\\dir\\x.dl"},
    {&kJoinPath, "C:/dir/", "x.dll", 32, 1, "C:/dir/\\x.dll"},
    {&kJoinPath, "", "x.dll", 32, 1, "\\x.dll"},
    {&kJoinPath, "C:\\\x95\x5C", "x", 32, 1, "C:\\\x95\x5C\\x"},
    {&kJoinPath, nullptr, "x", 8, 0, "old"},
    {&kJoinPath, "d", nullptr, 8, 0, "old"},
    {&kJoinPath, "d", "x", 0, 0, "old"},

    {&kFileName, "C:\\dir/sub\\x.dll", nullptr, 16, 1, "x.dll"},
    {&kFileName, "a\\b/c.dll", nullptr, 16, 1, "b/c.dll"},  // the backslash wins
    {&kFileName, "dir/c.dll", nullptr, 16, 1, "c.dll"},
    {&kFileName, "c.dll", nullptr, 16, 1, "c.dll"},
    {&kFileName, "dir\\", nullptr, 16, 1, ""},
    {&kFileName, "C:\\abc", nullptr, 4, 1, "abc"},
    {&kFileName, "C:\\abcd", nullptr, 4, 0, "old"},
    {&kFileName, nullptr, nullptr, 4, 0, "old"},
    {&kFileName, "x", nullptr, 0, 0, "old"},

    {&kParent, "C:\\root\\Log\\a.log", nullptr, 32, 1, "C:\\root\\Log"},
    {&kParent, "C:\\a\\c/d", nullptr, 32, 1, "C:\\a\\c"},
    {&kParent, "C:/a/b", nullptr, 32, 1, "C:/a"},
    {&kParent, "name.ini", nullptr, 32, 1, "C:\\base"},
    {&kParent, "sub\\name.ini", nullptr, 32, 1, "C:\\base\\sub"},
    {&kParent, "C:\\root\\a.log", nullptr, 8, 1, "C:\\root"},
    {&kParent, "C:\\roots\\a.log", nullptr, 8, 0, "old"},
    {&kParent, "\\file", nullptr, 8, 0, "old"},
    {&kParent, "C:file", nullptr, 8, 0, "old"},
    {&kParent, kOverlong.c_str(), nullptr, 32, 0, "old"},
    {&kParent, "C:\\dir\\\x95\x5C", nullptr, 32, 1, "C:\\dir"},
};

// Under code page 932, where 0x95 0x5C is one character and no separator.
TEST(PathOperationsTest, WriteTheExpectedPathOrRefuse)
{
    CodePageScope japanese(932);
    ASSERT_TRUE(japanese.ok());
    CheckCases(kPathCases);
    CheckNullDestinationRefused({&kJoinToProfile, &kJoinToBase, &kMakeAbsolute, &kJoinPath, &kFileName, &kParent});
    Orvik::JoinDirectoryName("a", "b", nullptr, 8);  // ignored, without a crash
}

TEST(PathOperationsTest, BootstrapJoinsWithTheHostDirectory)
{
    char dst[260];
    EXPECT_EQ(1, Orvik::JoinToBaseDirectory("Orvik.ini", dst, sizeof dst));
    EXPECT_EQ(std::string(Orvik::GetHostDirectory()) + "\\Orvik.ini", dst);
}

// Both forms of the path tests.
struct PathTestForm {
    const char* name;
    int (*isRelative)(const char*);
    const char* (*lastSeparator)(const char*);
};
const PathTestForm kPathTestForms[] = {
    {"template", [](const char* p) { return kHost.IsRelativePath(p); },
     [](const char* p) { return kHost.GetLastSeparator(p); }},
    {"bootstrap", &Orvik::IsRelativePath, &Orvik::GetLastSeparator},
};

TEST(PathTestsTest, ColonOrLeadingBackslashMakesAPathAbsolute)
{
    for (const PathTestForm& form : kPathTestForms) {
        for (const char* path : {static_cast<const char*>(nullptr), "", "a.ini", ".\\a.ini", "/a.ini"}) {
            EXPECT_EQ(1, form.isRelative(path)) << form.name << ' ' << (path ? path : "null");
        }
        for (const char* path : {"C:", "C:\\a", "\\a", "\\\\server\\share", "a:b"}) {
            EXPECT_EQ(0, form.isRelative(path)) << form.name << ' ' << path;
        }
    }
}

TEST(PathTestsTest, LastSeparatorPrefersTheBackslashAndSkipsTrailBytes)
{
    const struct {
        int codePage;
        const char* path;
        long offset;  // -1: none
    } cases[] = {
        {932, "a/b\\c/d", 3},
        {932, "a/b", 1},
        {932, "abc", -1},
        {932, nullptr, -1},
        {932, "dir\\\x95\x5C", 3},
        {Orvik::Platform::kSingleByteCodePage, "dir\\\x95\x5C", 5},
    };
    for (const PathTestForm& form : kPathTestForms) {
        for (const auto& c : cases) {
            CodePageScope scope(c.codePage);
            ASSERT_TRUE(scope.ok());
            const char* found = form.lastSeparator(c.path);
            EXPECT_EQ(c.offset, found ? found - c.path : -1) << form.name << ' ' << (c.path ? c.path : "null");
        }
    }
}

TEST(PathTestsTest, ReservedCharactersMakeAPathInvalid)
{
    for (const char* path : {"C:\\a<b", "C:\\a>b", "C:\\a\"b", "C:\\a|b", "C:\\a*b", "C:\\a?b"}) {
        EXPECT_EQ(0, kHost.IsValidPathChars(path)) << path;
    }
    EXPECT_EQ(0, kHost.IsValidPathChars(nullptr));
    EXPECT_EQ(1, kHost.IsValidPathChars("C:\\dir/sub\\file.log"));
    EXPECT_EQ(1, kHost.IsValidPathChars(""));
}

TEST(PathTestsTest, OnlyAStrictlyLaterFileTimeIsLater)
{
    const Orvik::Platform::FileTime t{0x10, 0x20};
    EXPECT_EQ(0, kHost.IsLaterFileTime(t, t));
    EXPECT_EQ(1, kHost.IsLaterFileTime({0x11, 0x20}, t));
    EXPECT_EQ(1, kHost.IsLaterFileTime({0x00, 0x21}, t));
    EXPECT_EQ(0, kHost.IsLaterFileTime(t, {0xFFFFFFFF, 0x20}));
    EXPECT_EQ(0, kHost.IsLaterFileTime({0xFFFFFFFF, 0x1F}, t));
}

}  // namespace
