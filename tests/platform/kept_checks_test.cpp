// The module file check keeps the files that passed for the processes that
// come after: a settled file that passed is not read again while it is the
// same file, and a store that is damaged, stale or out of reach only means
// that files are read again.

#if !defined(_WIN32)

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "orvik/platform/module_loader.h"
#include "platform/posix/pass_store.h"
#include "tests/support/test_paths.h"

namespace Orvik {
namespace {

namespace fs = std::filesystem;
using Platform::FileIdentity;
using Platform::PassedFile;
using Platform::PassMap;
using Testing::ScratchDirectory;

fs::path ProgramFile(const std::string& name) { return Testing::NativePath(Testing::ProgramDirectory()) / name; }

struct stat StatOf(const fs::path& path)
{
    struct stat info = {};
    EXPECT_EQ(stat(path.c_str(), &info), 0) << path;
    return info;
}

// Until the file has been left alone long enough for a pass to be kept.
void WaitUntilSettled(const fs::path& path)
{
    while (!Platform::IsSettled(FileIdentity(StatOf(path)), std::time(nullptr))) {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
}

// The last error of loading module in a new process that keeps its checks
// in store (empty: none); 0 when it loaded.
unsigned LoadInNewProcess(const fs::path& module, const std::string& store)
{
    const std::string command = "ORVIK_CACHE_DIR='" + store + "' '" + ProgramFile("load_in_new_process").string() +
                                "' '" + module.string() + "' 2>/dev/null";
    FILE* output = popen(command.c_str(), "r");
    if (output == nullptr) return ~0u;
    unsigned error = ~0u;
    if (std::fscanf(output, "%u", &error) != 1) error = ~0u;
    pclose(output);
    return error;
}

std::string ReadText(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// The store's one file in its directory.
fs::path StoreFile(const fs::path& directory)
{
    fs::path found;
    for (const auto& entry : fs::directory_iterator(directory)) found = entry.path();
    return found;
}

PassMap ReadStore(const fs::path& file)
{
    PassMap passes;
    Platform::ReadPassStore(file.string(), &passes);
    return passes;
}

PassedFile PassOf(const fs::path& module)
{
    PassedFile pass;
    pass.identity = FileIdentity(StatOf(module));
    pass.needs.names = {"libc.so.6"};
    return pass;
}

void Append(const fs::path& file, const std::string& text)
{
    std::ofstream(file, std::ios::binary | std::ios::app) << text;
}

TEST(KeptChecks, ASettledModuleThatPassedIsKeptAsTheFileItWas)
{
    ScratchDirectory store("kept_store");
    const fs::path module = ProgramFile("probe_a.dll");
    WaitUntilSettled(module);
    ASSERT_EQ(LoadInNewProcess(module, store.native().string()), 0u);

    const fs::path file = StoreFile(store.native());
    EXPECT_NE(file.filename().string().find(ORVIK_PLATFORM_VERSION), std::string::npos) << file;
    const PassMap passes = ReadStore(file);
    ASSERT_EQ(passes.count(module.string()), 1u) << ReadText(file);
    const PassedFile& pass = passes.at(module.string());
    EXPECT_TRUE(pass.identity == FileIdentity(StatOf(module)));
    EXPECT_FALSE(pass.needs.names.empty()) << "what it needs is kept to be looked at again";
    // A second process finds it there and adds nothing.
    const std::string text = ReadText(file);
    ASSERT_EQ(LoadInNewProcess(module, store.native().string()), 0u);
    EXPECT_EQ(ReadText(file), text);
}

TEST(KeptChecks, AFileWrittenJustNowIsNotKept)
{
    ScratchDirectory store("fresh_store");
    ScratchDirectory modules("fresh_module");
    const fs::path copy = modules.native() / "fresh.dll";
    fs::copy_file(ProgramFile("probe_a.dll"), copy);
    ASSERT_EQ(LoadInNewProcess(copy, store.native().string()), 0u);
    EXPECT_FALSE(fs::exists(store.native()) && !fs::is_empty(store.native()) &&
                 ReadStore(StoreFile(store.native())).count(copy.string()) != 0);
}

// A module built against another contract is refused by the check, and
// by nothing else: whether it loads tells whether its file was read.
TEST(KeptChecks, AKeptPassSpeaksOnlyForTheVeryFile)
{
    ScratchDirectory store("forged_store");
    const fs::path refused = ProgramFile("factory_tests/fact_other_contract.dll");
    const fs::path module = ProgramFile("probe_a.dll");
    WaitUntilSettled(module);
    WaitUntilSettled(refused);
    ASSERT_EQ(LoadInNewProcess(module, store.native().string()), 0u);
    const fs::path file = StoreFile(store.native());
    ASSERT_NE(LoadInNewProcess(refused, store.native().string()), 0u) << "read, and refused";

    PassedFile other = PassOf(refused);
    other.identity.size += 1;
    Append(file, Platform::PassLine(refused.string(), other));
    EXPECT_NE(LoadInNewProcess(refused, store.native().string()), 0u) << "a pass of another file";
    other = PassOf(refused);
    other.identity.changed.tv_nsec ^= 1;
    Append(file, Platform::PassLine(refused.string(), other));
    EXPECT_NE(LoadInNewProcess(refused, store.native().string()), 0u) << "a pass of the file before a change";

    Append(file, Platform::PassLine(refused.string(), PassOf(refused)));
    EXPECT_EQ(LoadInNewProcess(refused, store.native().string()), 0u) << "the file as it passed is not read again";
}

TEST(KeptChecks, AStoreDamagedOrOutOfReachOnlyMeansReadingAgain)
{
    ScratchDirectory scratch("bad_store");
    const fs::path module = ProgramFile("probe_a.dll");
    const fs::path damaged = ProgramFile("factory_tests/fact_other_contract.dll");
    WaitUntilSettled(module);
    // A file where the store's directory would be, and no store at all.
    std::ofstream(scratch.native() / "file") << "not a directory";
    EXPECT_EQ(LoadInNewProcess(module, (scratch.native() / "file").string()), 0u);
    EXPECT_EQ(LoadInNewProcess(module, ""), 0u);

    const fs::path directory = scratch.native() / "store";
    ASSERT_EQ(LoadInNewProcess(module, directory.string()), 0u);
    const fs::path file = StoreFile(directory);
    // Lines cut short, numbers out of range, a length past the end, and
    // binary noise: each is skipped, and the lines around them still read.
    const std::string good = Platform::PassLine(damaged.string(), PassOf(damaged));
    std::string noise = good.substr(0, good.size() / 2) + "\npass 1 2 3\npass 99999999999999999999999 1\n" +
                        good.substr(0, good.size() - 5) + "999999:x\n";
    for (int i = 0; i < 64; ++i) noise += static_cast<char>(i * 37);
    std::ofstream(file, std::ios::binary) << noise << "\n" << Platform::PassLine(module.string(), PassOf(module));
    const PassMap passes = ReadStore(file);
    EXPECT_EQ(passes.count(damaged.string()), 0u);
    EXPECT_EQ(passes.count(module.string()), 1u);
    EXPECT_NE(LoadInNewProcess(damaged, directory.string()), 0u);
    EXPECT_EQ(LoadInNewProcess(module, directory.string()), 0u);
}

TEST(KeptChecks, LinesOfFilesRebuiltAgainAndAgainAreDroppedInTime)
{
    ScratchDirectory store("stale_store");
    const fs::path module = ProgramFile("probe_a.dll");
    const fs::path other = ProgramFile("probe_b.dll");
    WaitUntilSettled(module);
    WaitUntilSettled(other);
    ASSERT_EQ(LoadInNewProcess(module, store.native().string()), 0u);
    const fs::path file = StoreFile(store.native());
    // Many earlier builds of the same file, each with its own line.
    for (int build = 0; build < 200; ++build) {
        PassedFile stale = PassOf(module);
        stale.identity.size = build;
        Append(file, Platform::PassLine(module.string(), stale));
    }
    Append(file, Platform::PassLine(module.string(), PassOf(module)));
    const auto before = fs::file_size(file);
    // The next process that keeps a pass writes the store afresh.
    ASSERT_EQ(LoadInNewProcess(other, store.native().string()), 0u);
    EXPECT_LT(fs::file_size(file), before / 10);
    const PassMap passes = ReadStore(file);
    EXPECT_EQ(passes.size(), 2u);
    ASSERT_EQ(passes.count(module.string()), 1u);
    EXPECT_TRUE(passes.at(module.string()).identity == FileIdentity(StatOf(module)));
}

TEST(KeptChecks, APassReadsBackAsWritten)
{
    PassedFile pass;
    pass.identity.device = 66306;
    pass.identity.inode = 1234567890123;
    pass.identity.size = 99360;
    pass.identity.modified = {1795563315, 501127934};
    pass.identity.changed = {-5, 999999999};
    pass.needs.hasRunPath = true;
    pass.needs.runPath = "$ORIGIN:/lib";
    pass.needs.names = {"libOrvikPlatform.so.0.1", "", "libc.so.6"};
    const std::string path = "/opt/with space/and\nnewline/m.dll";
    const std::string line = Platform::PassLine(path, pass);
    PassMap passes;
    EXPECT_EQ(Platform::ReadPassLines(line.data(), line.size(), &passes), 1u);
    ASSERT_EQ(passes.count(path), 1u);
    const PassedFile& read = passes.at(path);
    EXPECT_TRUE(read.identity == pass.identity);
    EXPECT_TRUE(read.needs.hasRunPath);
    EXPECT_FALSE(read.needs.hasOldRunPath);
    EXPECT_EQ(read.needs.runPath, pass.needs.runPath);
    EXPECT_EQ(read.needs.names, pass.needs.names);
    // Too long to be appended in one write: not kept at all.
    pass.needs.names.assign(100, std::string(60, 'x'));
    EXPECT_EQ(Platform::PassLine(path, pass), "");
}

}  // namespace
}  // namespace Orvik

#endif
