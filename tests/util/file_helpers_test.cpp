#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "tests/support/test_paths.h"
#include "tests/util/helper_host.h"
#include "util/bootstrap_helpers.h"

namespace fs = std::filesystem;
using OrvikTest::HelperHost;
using Orvik::Testing::ScratchDirectory;

namespace {

// Remembers every entry handed to OnFileFound, as the factory's override
// does with the log directory.
class ListingHost : public HelperHost {
public:
    using HelperHost::HelperHost;

    void OnFileFound(const Orvik::Platform::FindData& data, void* context) override
    {
        auto* entries = static_cast<std::map<std::string, bool>*>(context);
        (*entries)[data.name] = (data.attributes & Orvik::Platform::kFileAttributeDirectory) != 0;
    }
};

class FileHelpersTest : public ::testing::Test {
protected:
    FileHelpersTest() : host_(scratch_.Framework()) {}

    std::string At(const std::string& relative) const { return scratch_.Framework() + "\\" + relative; }

    void MakeFile(const std::string& relative) const
    {
        std::ofstream(scratch_.native() / relative) << "x";
    }

    ScratchDirectory scratch_{"util_files"};
    ListingHost host_;
};

TEST_F(FileHelpersTest, PathExistsForFilesAndDirectories)
{
    MakeFile("file.txt");
    fs::create_directory(scratch_.native() / "dir");
    EXPECT_EQ(1, host_.PathExists(At("file.txt").c_str()));
    EXPECT_EQ(1, host_.PathExists(At("dir").c_str()));
    EXPECT_EQ(1, host_.PathExists(scratch_.Framework().c_str()));
    EXPECT_EQ(0, host_.PathExists(At("missing").c_str()));
    EXPECT_EQ(1, host_.PathExists("file.txt"));
    EXPECT_EQ(0, host_.PathExists("missing"));
}

TEST_F(FileHelpersTest, CreateDirectoryIfMissingCreatesOneLevel)
{
    EXPECT_EQ(1, host_.CreateDirectoryIfMissing(At("made").c_str()));
    EXPECT_TRUE(fs::is_directory(scratch_.native() / "made"));
    EXPECT_EQ(1, host_.CreateDirectoryIfMissing(At("made").c_str()));

    EXPECT_EQ(0, host_.CreateDirectoryIfMissing(At("no\\parent").c_str()));
    EXPECT_FALSE(fs::exists(scratch_.native() / "no"));

    EXPECT_EQ(1, host_.CreateDirectoryIfMissing("relative"));
    EXPECT_TRUE(fs::is_directory(scratch_.native() / "relative"));
}

TEST_F(FileHelpersTest, CreateDirectoryIfMissingAcceptsAFileOfThatName)
{
    MakeFile("taken");
    EXPECT_EQ(1, host_.CreateDirectoryIfMissing(At("taken").c_str()));
    EXPECT_TRUE(fs::is_regular_file(scratch_.native() / "taken"));
}

TEST_F(FileHelpersTest, CreateDirectoryForPathCreatesTheDirectoryHoldingIt)
{
    EXPECT_EQ(1, host_.CreateDirectoryForPath(At("logs\\a.log").c_str()));
    EXPECT_TRUE(fs::is_directory(scratch_.native() / "logs"));
    EXPECT_FALSE(fs::exists(scratch_.native() / "logs" / "a.log"));

    // A trailing separator names the directory itself.
    EXPECT_EQ(1, host_.CreateDirectoryForPath(At("OrvikLog\\").c_str()));
    EXPECT_TRUE(fs::is_directory(scratch_.native() / "OrvikLog"));

    EXPECT_EQ(1, host_.CreateDirectoryForPath("rel\\x.log"));
    EXPECT_TRUE(fs::is_directory(scratch_.native() / "rel"));

    EXPECT_EQ(0, host_.CreateDirectoryForPath(At("one\\two\\x.log").c_str()));
    EXPECT_FALSE(fs::exists(scratch_.native() / "one"));
}

TEST_F(FileHelpersTest, CreateDirectoryForPathAcceptsADriveLetter)
{
    // On POSIX the platform drops the drive letter; on Windows the scratch
    // path has one already.
    std::string path = At("drive\\x.log");
    if (path[1] != ':') path = "C:" + path;
    EXPECT_EQ(1, host_.CreateDirectoryForPath(path.c_str()));
    EXPECT_TRUE(fs::is_directory(scratch_.native() / "drive"));
}

TEST_F(FileHelpersTest, CreateDirectoryForPathRefusesReservedCharacters)
{
    for (const char* name : {"a<.log", "a>.log", "a\".log", "a|.log", "a*.log", "a?.log"}) {
        EXPECT_EQ(0, host_.CreateDirectoryForPath(At(std::string("bad\\") + name).c_str())) << name;
    }
    EXPECT_FALSE(fs::exists(scratch_.native() / "bad"));
    EXPECT_EQ(0, host_.CreateDirectoryForPath(""));
    EXPECT_EQ(0, host_.CreateDirectoryForPath(nullptr));
}

TEST_F(FileHelpersTest, EnumerateFilesHandsOverEveryEntry)
{
    MakeFile("a.log");
    MakeFile("b.txt");
    fs::create_directory(scratch_.native() / "sub");
    std::map<std::string, bool> entries;
    host_.EnumerateFiles((scratch_.Framework() + "\\").c_str(), &entries);
    const std::map<std::string, bool> expected{
        {".", true}, {"..", true}, {"a.log", false}, {"b.txt", false}, {"sub", true}};
    EXPECT_EQ(expected, entries);
}

TEST_F(FileHelpersTest, EnumerateFilesOfAMissingDirectoryFindsNothing)
{
    std::map<std::string, bool> entries;
    host_.EnumerateFiles(At("missing\\").c_str(), &entries);
    EXPECT_TRUE(entries.empty());
}

TEST_F(FileHelpersTest, EnumerateFilesNeedsRoomForThePatternStar)
{
    // Directories whose name with the final separator is 258 and 259
    // characters long: only the first leaves room for the "*".
    const size_t room = 258 - (scratch_.Framework().size() + 2);
    ASSERT_LT(room, 250u) << "temporary directory path too long for this case";
    for (size_t length : {room, room + 1}) {
        const fs::path directory = scratch_.native() / std::string(length, 'd');
        fs::create_directory(directory);
        std::ofstream(directory / "x.log") << "x";
    }

    std::map<std::string, bool> entries;
    const std::string fits = At(std::string(room, 'd')) + "\\";
    ASSERT_EQ(258u, fits.size());
    host_.EnumerateFiles(fits.c_str(), &entries);
    EXPECT_EQ(1u, entries.count("x.log"));

    entries.clear();
    const std::string full = At(std::string(room + 1, 'd')) + "\\";
    ASSERT_EQ(259u, full.size());
    host_.EnumerateFiles(full.c_str(), &entries);
    EXPECT_TRUE(entries.empty());
}

TEST_F(FileHelpersTest, OnFileFoundDoesNothingUnlessOverridden)
{
    MakeFile("a.log");
    HelperHost plain(scratch_.Framework());
    int untouched = 7;
    plain.EnumerateFiles((scratch_.Framework() + "\\").c_str(), &untouched);
    EXPECT_EQ(7, untouched);
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
