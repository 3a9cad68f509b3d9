#include "platform/path_split.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/multibyte.h"

namespace Platform = Orvik::Platform;

namespace {

struct Parts {
    std::string drive, directory, fileName, extension;
    bool operator==(const Parts& o) const
    {
        return drive == o.drive && directory == o.directory && fileName == o.fileName &&
               extension == o.extension;
    }
};

std::ostream& operator<<(std::ostream& out, const Parts& p)
{
    return out << '[' << p.drive << "][" << p.directory << "][" << p.fileName << "]["
               << p.extension << ']';
}

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
    EXPECT_EQ((Parts{"C:", "\\dir\\sub/", "name.tar", ".gz"}), Split("C:\\dir\\sub/name.tar.gz"));
    EXPECT_EQ((Parts{"", "\\\\server\\share\\", "Orvik", ".ini"}),
              Split("\\\\server\\share\\Orvik.ini"));
    EXPECT_EQ((Parts{"a:", "", "b", ""}), Split("a:b"));
    EXPECT_EQ((Parts{"C:", "", "", ""}), Split("C:"));
    EXPECT_EQ((Parts{"", "", "C", ""}), Split("C"));
    EXPECT_EQ((Parts{"", "", "", ""}), Split(""));
}

TEST_F(SplitPathTest, DriveNeedsTheColonAsSecondCharacter)
{
    EXPECT_EQ((Parts{"", "ab:c\\", "d.e", ".f"}), Split("ab:c\\d.e.f"));
}

TEST_F(SplitPathTest, DotsCountOnlyAfterTheLastSeparator)
{
    EXPECT_EQ((Parts{"", "/x/y.z/", "w", ""}), Split("/x/y.z/w"));
    EXPECT_EQ((Parts{"", "", "", ".profile"}), Split(".profile"));
    EXPECT_EQ((Parts{"", "dir\\", "", ""}), Split("dir\\"));
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

TEST_F(SplitPathTest, TrailByteIsNoSeparatorUnderDoubleByteCodePage)
{
    ASSERT_TRUE(Platform::SelectCodePage(932));
    EXPECT_EQ((Parts{"C:", "\\dir\\", "\x95\x5C", ".txt"}), Split("C:\\dir\\\x95\x5C.txt"));
    EXPECT_EQ((Parts{"C:", "\\", "a\x95\x5C" "b", ""}), Split("C:\\a\x95\x5C" "b"));

    ASSERT_TRUE(Platform::SelectCodePage(Platform::kSingleByteCodePage));
    EXPECT_EQ((Parts{"C:", "\\dir\\\x95\\", "", ".txt"}), Split("C:\\dir\\\x95\x5C.txt"));
    EXPECT_EQ((Parts{"C:", "\\a\x95\\", "b", ""}), Split("C:\\a\x95\x5C" "b"));
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
    const Parts parts = Split("C:" + directory + name + extension);
    EXPECT_EQ("C:", parts.drive);
    EXPECT_EQ(directory.substr(0, Platform::kMaxDirectory - 1), parts.directory);
    EXPECT_EQ(name.substr(0, Platform::kMaxFileName - 1), parts.fileName);
    EXPECT_EQ(extension.substr(0, Platform::kMaxExtension - 1), parts.extension);
}

}  // namespace
