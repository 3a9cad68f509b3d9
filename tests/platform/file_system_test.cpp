#include "orvik/platform/file_system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <map>
#include <set>
#include <string>

#include "orvik/platform/module_loader.h"
#include "tests/support/test_paths.h"

namespace Orvik {
namespace {

using Platform::FileHandle;

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

// The error number a call left when it failed; kErrorSuccess when it did not.
uint32_t ErrorIf(bool failed) { return failed ? Platform::GetLastErrorCode() : Platform::kErrorSuccess; }

// Every entry a search lists, by name; the search must end on "no more files".
std::map<std::string, Platform::FindData> List(const std::string& pattern)
{
    std::map<std::string, Platform::FindData> entries;
    Platform::FindData data;
    Platform::FindHandle find = Platform::FindFirstEntry(pattern.c_str(), &data);
    if (find == Platform::InvalidFileHandle()) return entries;
    do {
        entries[data.name] = data;
    } while (Platform::FindNextEntry(find, &data));
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorNoMoreFiles);
    Platform::CloseFind(find);
    return entries;
}

std::set<std::string> Names(const std::map<std::string, Platform::FindData>& entries)
{
    std::set<std::string> names;
    for (const auto& entry : entries) names.insert(entry.first);
    return names;
}

class FileSystem : public ::testing::Test {
protected:
    std::string At(const std::string& name = std::string()) const { return scratch_.Framework(name); }
    Testing::ScratchDirectory scratch_{"files"};
};

TEST_F(FileSystem, CreateAlwaysWritesAndEmptiesAnExistingFile)
{
    const std::string path = At("a.log");
    WriteAll(path, "first line\n");
    EXPECT_EQ(ReadAll(path), "first line\n");
    WriteAll(path, "new");
    EXPECT_EQ(ReadAll(path), "new");
    EXPECT_TRUE(Platform::PathIsPresent(path.c_str()));
    EXPECT_TRUE(Platform::RemoveFile(path.c_str()));
    EXPECT_FALSE(Platform::PathIsPresent(path.c_str()));
}

TEST_F(FileSystem, MakesOneDirectoryLevel)
{
    EXPECT_TRUE(Platform::MakeDirectory(At("OrvikLog").c_str()));
    EXPECT_TRUE(Platform::PathIsPresent(At("OrvikLog").c_str()));
    EXPECT_EQ(ErrorIf(!Platform::MakeDirectory(At("OrvikLog").c_str())), Platform::kErrorAlreadyExists);
    EXPECT_EQ(ErrorIf(!Platform::MakeDirectory(At("a\\b").c_str())), Platform::kErrorPathNotFound);
}

TEST_F(FileSystem, FailuresGiveWindowsErrorNumbers)
{
    auto openFails = [](const std::string& path) {
        return Platform::OpenFileForReading(path.c_str()) == Platform::InvalidFileHandle();
    };
    EXPECT_EQ(ErrorIf(openFails(At("missing.ini"))), Platform::kErrorFileNotFound);
    EXPECT_EQ(ErrorIf(openFails(At("no\\missing.ini"))), Platform::kErrorPathNotFound);
    EXPECT_EQ(ErrorIf(openFails(At())), Platform::kErrorAccessDenied);
    EXPECT_EQ(ErrorIf(Platform::CreateFileForWriting(At("no\\x.log").c_str()) == Platform::InvalidFileHandle()),
              Platform::kErrorPathNotFound);
    EXPECT_EQ(ErrorIf(Platform::CreateFileForWriting(At().c_str()) == Platform::InvalidFileHandle()),
              Platform::kErrorAccessDenied);
    EXPECT_EQ(ErrorIf(!Platform::RemoveFile(At("missing.txt").c_str())), Platform::kErrorFileNotFound);
    EXPECT_EQ(ErrorIf(!Platform::RemoveFile(At().c_str())), Platform::kErrorAccessDenied);

    Platform::FindData data;
    auto findFails = [&](const char* pattern) {
        return Platform::FindFirstEntry(At(pattern).c_str(), &data) == Platform::InvalidFileHandle();
    };
    EXPECT_EQ(ErrorIf(findFails("*.none")), Platform::kErrorFileNotFound);
    EXPECT_EQ(ErrorIf(findFails("missing\\*")), Platform::kErrorPathNotFound);
}

TEST_F(FileSystem, ListsDirectoriesWithWildcardsIgnoringCase)
{
    for (const char* name : {"b.log", "a.LOG", "c.txt", "d.log.bak"}) std::ofstream(scratch_.native() / name) << name;
    std::filesystem::create_directory(scratch_.native() / "sub.log");

    const auto all = List(At("*"));
    EXPECT_EQ(Names(all), (std::set<std::string>{".", "..", "a.LOG", "b.log", "c.txt", "d.log.bak", "sub.log"}));
    EXPECT_EQ(3, std::count_if(all.begin(), all.end(), [](const auto& entry) {
                  return (entry.second.attributes & Platform::kFileAttributeDirectory) != 0;
              }));
    EXPECT_EQ(Names(List(At("*.log"))), (std::set<std::string>{"a.LOG", "b.log", "sub.log"}));
    EXPECT_EQ(Names(List(At("?.txt"))), (std::set<std::string>{"c.txt"}));
}

TEST_F(FileSystem, ListingCarriesSizesAndLastWriteTimesInOrder)
{
    const auto now = std::filesystem::file_time_type::clock::now();
    for (const char* name : {"old.log", "new.log"}) std::ofstream(scratch_.native() / name) << "x";
    std::filesystem::last_write_time(scratch_.native() / "old.log", now - std::chrono::hours(2));
    std::filesystem::last_write_time(scratch_.native() / "new.log", now - std::chrono::hours(1));

    const auto entries = List(At("*.log"));
    ASSERT_EQ(Names(entries), (std::set<std::string>{"new.log", "old.log"}));
    const Platform::FileTime oldTime = entries.at("old.log").lastWriteTime;
    const Platform::FileTime newTime = entries.at("new.log").lastWriteTime;
    EXPECT_EQ(entries.at("old.log").sizeLow, 1u);
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
