#include "platform/path_split.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "platform/multibyte.h"

namespace Platform = Orvik::Platform;

namespace {

// Drive, directory, file name and extension.
using Parts = std::array<std::string, 4>;

Parts Split(const std::string& path)
{
    char drive[Platform::kMaxDrive];
    char directory[Platform::kMaxDirectory];
    char fileName[Platform::kMaxFileName];
    char extension[Platform::kMaxExtension];
    Platform::SplitPath(path.c_str(), drive, directory, fileName, extension);
    return {drive, directory, fileName, extension};
}

class SplitPathTest : public ::testing::Test {
protected:
    void TearDown() override { Platform::SelectCodePage(Platform::kStartupCodePage); }
};

TEST_F(SplitPathTest, SplitsDriveDirectoryNameAndLastExtension)
{
    const int single = Platform::kSingleByteCodePage;
    const struct {
        int codePage;
        const char* path;
        Parts parts;
    } cases[] = {
        {single, "C:\\dir\\sub/name.tar.gz", {"C:", "\\dir\\sub/", "name.tar", ".gz"}},
        {single, "\\\\server\\share\\Orvik.ini", {"", "\\\\server\\share\\", "Orvik", ".ini"}},
        {single, "a:b", {"a:", "", "b", ""}},
        {single, "C:", {"C:", "", "", ""}},
        {single, "C", {"", "", "C", ""}},
        {single, "", {"", "", "", ""}},
        {single, "ab:c\\d.e.f", {"", "ab:c\\", "d.e", ".f"}},  // the colon must come second
        {single, "/x/y.z/w", {"", "/x/y.z/", "w", ""}},         // dots count after the last separator
        {single, ".profile", {"", "", "", ".profile"}},
        {single, "dir\\", {"", "dir\\", "", ""}},
        // A trail byte 0x5C is no separator under a double-byte code page.
        {932, "C:\\dir\\\x95\x5C.txt", {"C:", "\\dir\\", "\x95\x5C", ".txt"}},
        {932, "C:\\a\x95\x5C" "b", {"C:", "\\", "a\x95\x5C" "b", ""}},
        {single, "C:\\dir\\\x95\x5C.txt", {"C:", "\\dir\\\x95\\", "", ".txt"}},
        {single, "C:\\a\x95\x5C" "b", {"C:", "\\a\x95\\", "b", ""}},
    };
    for (const auto& c : cases) {
        ASSERT_TRUE(Platform::SelectCodePage(c.codePage));
        EXPECT_EQ(c.parts, Split(c.path)) << c.codePage << ' ' << c.path;
    }
}

TEST_F(SplitPathTest, AnyOutputMayBeLeftOut)
{
    char directory[Platform::kMaxDirectory];
    Platform::SplitPath("a.b\\c", nullptr, directory, nullptr, nullptr);
    EXPECT_STREQ("a.b\\", directory);
    char extension[Platform::kMaxExtension];
    Platform::SplitPath("C:\\a.b\\c.log", nullptr, nullptr, nullptr, extension);
    EXPECT_STREQ(".log", extension);
}

// The Windows run-time empties every part instead of cutting.
TEST_F(SplitPathTest, LongPartsAreCutToTheirBuffers)
{
#ifdef _WIN32
    GTEST_SKIP() << "the Windows run-time leaves all parts empty for an over-long part";
#endif
    const std::string directory = "\\" + std::string(300, 'd') + "\\";
    const std::string name(300, 'f');
    const std::string extension = "." + std::string(300, 'e');
    const Parts expected{"C:", directory.substr(0, Platform::kMaxDirectory - 1),
                         name.substr(0, Platform::kMaxFileName - 1), extension.substr(0, Platform::kMaxExtension - 1)};
    EXPECT_EQ(expected, Split("C:" + directory + name + extension));
}

}  // namespace
