#include "platform/file_system.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <set>
#include <string>

#include "platform/module_loader.h"
#include "tests/support/test_paths.h"

namespace Orvik {
namespace {

using Platform::FileHandle;
using Testing::ScratchDirectory;

std::string ReadAll(const std::string& path)
{
    FileHandle file = Platform::OpenFileForReading(path.c_str());
    if (file == Platform::InvalidFileHandle()) return "<unopened>";
    std::string text(Platform::GetFileSizeLow(file), '\0');
    uint32_t read = 0;
    const bool ok = Platform::ReadFromFile(file, &text[0], static_cast<uint32_t>(text.size()), &read);
    Platform::CloseFile(file);
    return ok && read == text.size() ? text : "<short read>";
}

void WriteAll(const std::string& path, const std::string& text)
{
    FileHandle file = Platform::CreateFileForWriting(path.c_str());
    ASSERT_NE(file, Platform::InvalidFileHandle());
    uint32_t written = 0;
    EXPECT_TRUE(Platform::WriteToFile(file, text.data(), static_cast<uint32_t>(text.size()), &written));
    EXPECT_EQ(written, text.size());
    EXPECT_TRUE(Platform::CloseFile(file));
}

TEST(FileSystem, CreateAlwaysWritesAndEmptiesAnExistingFile)
{
    ScratchDirectory scratch("files_create");
    const std::string path = scratch.Framework("a.log");
    WriteAll(path, "first line\n");
    EXPECT_EQ(ReadAll(path), "first line\n");
    WriteAll(path, "new");
    EXPECT_EQ(ReadAll(path), "new");
    EXPECT_TRUE(Platform::PathIsPresent(path.c_str()));
    EXPECT_TRUE(Platform::RemoveFile(path.c_str()));
    EXPECT_FALSE(Platform::PathIsPresent(path.c_str()));
}

TEST(FileSystem, FailuresGiveWindowsErrorNumbers)
{
    ScratchDirectory scratch("files_errors");
    EXPECT_EQ(Platform::OpenFileForReading(scratch.Framework("missing.ini").c_str()), Platform::InvalidFileHandle());
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorFileNotFound);
    EXPECT_EQ(Platform::OpenFileForReading(scratch.Framework("no\\missing.ini").c_str()), Platform::InvalidFileHandle());
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorPathNotFound);
    EXPECT_EQ(Platform::OpenFileForReading(scratch.Framework().c_str()), Platform::InvalidFileHandle());
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorAccessDenied);
    EXPECT_EQ(Platform::CreateFileForWriting(scratch.Framework("no\\x.log").c_str()), Platform::InvalidFileHandle());
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorPathNotFound);

    EXPECT_FALSE(Platform::RemoveFile(scratch.Framework("missing.txt").c_str()));
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorFileNotFound);
    EXPECT_FALSE(Platform::RemoveFile(scratch.Framework().c_str()));
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorAccessDenied);
}

TEST(FileSystem, MakesOneDirectoryLevel)
{
    ScratchDirectory scratch("files_mkdir");
    const std::string directory = scratch.Framework("OrvikLog");
    EXPECT_TRUE(Platform::MakeDirectory(directory.c_str()));
    EXPECT_TRUE(Platform::PathIsPresent(directory.c_str()));
    EXPECT_FALSE(Platform::MakeDirectory(directory.c_str()));
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorAlreadyExists);
    EXPECT_FALSE(Platform::MakeDirectory(scratch.Framework("a\\b").c_str()));
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorPathNotFound);
}

std::set<std::string> ListNames(const std::string& pattern, uint32_t* directories = nullptr)
{
    std::set<std::string> names;
    Platform::FindData data;
    Platform::FindHandle find = Platform::FindFirstEntry(pattern.c_str(), &data);
    if (find == Platform::InvalidFileHandle()) return names;
    do {
        names.insert(data.name);
        if (directories != nullptr && (data.attributes & Platform::kFileAttributeDirectory)) ++*directories;
    } while (Platform::FindNextEntry(find, &data));
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorNoMoreFiles);
    Platform::CloseFind(find);
    return names;
}

TEST(FileSystem, ListsDirectoriesWithWildcardsIgnoringCase)
{
    ScratchDirectory scratch("files_list");
    for (const char* name : {"b.log", "a.LOG", "c.txt", "d.log.bak"}) std::ofstream(scratch.native() / name) << name;
    std::filesystem::create_directory(scratch.native() / "sub.log");

    uint32_t directories = 0;
    EXPECT_EQ(ListNames(scratch.Framework("*"), &directories),
              (std::set<std::string>{".", "..", "a.LOG", "b.log", "c.txt", "d.log.bak", "sub.log"}));
    EXPECT_EQ(directories, 3u);
    EXPECT_EQ(ListNames(scratch.Framework("*.log")), (std::set<std::string>{"a.LOG", "b.log", "sub.log"}));
    EXPECT_EQ(ListNames(scratch.Framework("?.txt")), (std::set<std::string>{"c.txt"}));

    Platform::FindData data;
    EXPECT_EQ(Platform::FindFirstEntry(scratch.Framework("*.none").c_str(), &data), Platform::InvalidFileHandle());
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorFileNotFound);
    EXPECT_EQ(Platform::FindFirstEntry(scratch.Framework("missing\\*").c_str(), &data), Platform::InvalidFileHandle());
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorPathNotFound);
}

TEST(FileSystem, ListingCarriesLastWriteTimesInOrder)
{
    ScratchDirectory scratch("files_times");
    const auto now = std::filesystem::file_time_type::clock::now();
    std::ofstream(scratch.native() / "old.log") << "o";
    std::ofstream(scratch.native() / "new.log") << "n";
    std::filesystem::last_write_time(scratch.native() / "old.log", now - std::chrono::hours(2));
    std::filesystem::last_write_time(scratch.native() / "new.log", now - std::chrono::hours(1));

    Platform::FileTime oldTime = {}, newTime = {};
    Platform::FindData data;
    Platform::FindHandle find = Platform::FindFirstEntry(scratch.Framework("*.log").c_str(), &data);
    ASSERT_NE(find, Platform::InvalidFileHandle());
    do {
        (std::string(data.name) == "old.log" ? oldTime : newTime) = data.lastWriteTime;
        EXPECT_EQ(data.sizeLow, 1u);
    } while (Platform::FindNextEntry(find, &data));
    Platform::CloseFind(find);

    EXPECT_EQ(Platform::CompareFileTimes(&newTime, &oldTime), 1);
    EXPECT_EQ(Platform::CompareFileTimes(&oldTime, &newTime), -1);
    EXPECT_EQ(Platform::CompareFileTimes(&oldTime, &oldTime), 0);
    // An hour is 36e9 ticks of 100 ns.
    const uint64_t newer = (uint64_t{newTime.high} << 32) | newTime.low;
    const uint64_t older = (uint64_t{oldTime.high} << 32) | oldTime.low;
    EXPECT_NEAR(static_cast<double>(newer - older), 36e9, 1e7);
}

}  // namespace
}  // namespace Orvik
