#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "tests/support/test_paths.h"
#include "tests/util/helper_host.h"
#include "orvik/util/bootstrap_helpers.h"

namespace fs = std::filesystem;
using Orvik::Testing::HelperHost;
using Orvik::Testing::ScratchDirectory;

namespace {

// Remembers every entry handed to OnFileFound (name: is a directory), as
// the factory's override does with the log directory.
class ListingHost : public HelperHost {
public:
    using HelperHost::HelperHost;
    void OnFileFound(const Orvik::Platform::FindData& data, void* context) override
    {
        (*static_cast<std::map<std::string, bool>*>(context))[data.name] =
            (data.attributes & Orvik::Platform::kFileAttributeDirectory) != 0;
    }
};

// The scratch directory is the base directory of host_.
class FileHelpersTest : public ::testing::Test {
protected:
    FileHelpersTest() : host_(scratch_.Framework()) {}
    std::string At(const std::string& relative) const { return scratch_.Framework(relative); }
    bool IsDirectory(const char* relative) const { return fs::is_directory(scratch_.native() / relative); }
    void MakeFile(const fs::path& relative) const { std::ofstream(scratch_.native() / relative) << "x"; }
    std::map<std::string, bool> List(const std::string& dir)
    {
        std::map<std::string, bool> entries;
        host_.EnumerateFiles(dir.c_str(), &entries);
        return entries;
    }

    ScratchDirectory scratch_{"util_files"};
    ListingHost host_;
};

TEST_F(FileHelpersTest, PathExistsForFilesAndDirectoriesAbsoluteOrRelative)
{
    MakeFile("file.txt");
    EXPECT_EQ(1, host_.PathExists(At("file.txt").c_str()));
    EXPECT_EQ(1, host_.PathExists(scratch_.Framework().c_str()));
    EXPECT_EQ(0, host_.PathExists(At("missing").c_str()));
    EXPECT_EQ(1, host_.PathExists("file.txt"));
    EXPECT_EQ(0, host_.PathExists("missing"));
}

TEST_F(FileHelpersTest, CreateDirectoryIfMissingCreatesOneLevelUnlessTheNameIsTaken)
{
    EXPECT_EQ(1, host_.CreateDirectoryIfMissing(At("made").c_str()));
    EXPECT_TRUE(IsDirectory("made"));
    EXPECT_EQ(1, host_.CreateDirectoryIfMissing(At("made").c_str()));
    EXPECT_EQ(1, host_.CreateDirectoryIfMissing("relative"));
    EXPECT_TRUE(IsDirectory("relative"));

    EXPECT_EQ(0, host_.CreateDirectoryIfMissing(At("no\\parent").c_str()));
    EXPECT_FALSE(fs::exists(scratch_.native() / "no"));

    MakeFile("taken");
    EXPECT_EQ(1, host_.CreateDirectoryIfMissing(At("taken").c_str()));
    EXPECT_TRUE(fs::is_regular_file(scratch_.native() / "taken"));
}

TEST_F(FileHelpersTest, CreateDirectoryForPathCreatesTheDirectoryHoldingIt)
{
    EXPECT_EQ(1, host_.CreateDirectoryForPath(At("logs\\a.log").c_str()));
    EXPECT_TRUE(IsDirectory("logs"));
    EXPECT_FALSE(fs::exists(scratch_.native() / "logs" / "a.log"));
    EXPECT_EQ(1, host_.CreateDirectoryForPath(At("OrvikLog\\").c_str()));  // names the directory itself
    EXPECT_TRUE(IsDirectory("OrvikLog"));
    EXPECT_EQ(1, host_.CreateDirectoryForPath("rel\\x.log"));
    EXPECT_TRUE(IsDirectory("rel"));

    // On POSIX the platform drops a drive letter; on Windows the scratch
    // path has one already.
    std::string drive = At("drive\\x.log");
    if (drive[1] != ':') drive = "C:" + drive;
    EXPECT_EQ(1, host_.CreateDirectoryForPath(drive.c_str()));
    EXPECT_TRUE(IsDirectory("drive"));

    EXPECT_EQ(0, host_.CreateDirectoryForPath(At("one\\two\\x.log").c_str()));
    EXPECT_EQ(0, host_.CreateDirectoryForPath(At("bad\\a?.log").c_str()));
    EXPECT_FALSE(fs::exists(scratch_.native() / "one"));
    EXPECT_FALSE(fs::exists(scratch_.native() / "bad"));
    EXPECT_EQ(0, host_.CreateDirectoryForPath(""));
    EXPECT_EQ(0, host_.CreateDirectoryForPath(nullptr));
}

TEST_F(FileHelpersTest, EnumerateFilesHandsOverEveryEntryOfAnExistingDirectory)
{
    MakeFile("a.log");
    MakeFile("b.txt");
    fs::create_directory(scratch_.native() / "sub");
    const std::map<std::string, bool> expected{
        {".", true}, {"..", true}, {"a.log", false}, {"b.txt", false}, {"sub", true}};
    EXPECT_EQ(expected, List(scratch_.Framework() + "\\"));
    EXPECT_TRUE(List(At("missing\\")).empty());

    // Without the override, entries go nowhere.
    HelperHost plain(scratch_.Framework());
    int untouched = 7;
    plain.EnumerateFiles((scratch_.Framework() + "\\").c_str(), &untouched);
    EXPECT_EQ(7, untouched);
}

TEST_F(FileHelpersTest, EnumerateFilesNeedsRoomForThePatternStar)
{
    // Directories whose name with the final separator is 258 and 259
    // characters long: only the first leaves room for the "*".
    const size_t room = 258 - (scratch_.Framework().size() + 2);
    ASSERT_LT(room, 250u) << "temporary directory path too long for this case";
    for (size_t length : {room, room + 1}) {
        fs::create_directory(scratch_.native() / std::string(length, 'd'));
        MakeFile(fs::path(std::string(length, 'd')) / "x.log");
    }
    const std::string fits = At(std::string(room, 'd')) + "\\";
    const std::string full = At(std::string(room + 1, 'd')) + "\\";
    ASSERT_EQ(258u, fits.size());
    ASSERT_EQ(259u, full.size());
    EXPECT_EQ(1u, List(fits).count("x.log"));
    EXPECT_TRUE(List(full).empty());
}

TEST(HostDirectoryTest, NamesTheDirectoryOfTheRunningProgram)
{
    const std::string host = Orvik::GetHostDirectory();
    ASSERT_FALSE(host.empty());
    EXPECT_NE('\\', host.back());
    EXPECT_EQ(0, Orvik::IsRelativePath(host.c_str()));

    const HelperHost helper;
    EXPECT_EQ(host, helper.GetHostDirectory());
    EXPECT_TRUE(helper.PathExists((host + "\\util_tests").c_str()) ||
                helper.PathExists((host + "\\util_tests.exe").c_str()));
}

}  // namespace
