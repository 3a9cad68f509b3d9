// A component asks the factory how to log and receives the process's log
// file, created under the root path on demand, replaced on request and
// pruned to "MaxFileCount" at shutdown.

#include <algorithm>
#include <cctype>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <thread>

#include "tests/factory/factory_fixture.h"

namespace Orvik::Testing {
namespace {

namespace fs = std::filesystem;

std::string LocalStamp()
{
    const std::time_t now = std::time(nullptr);
    char text[32] = {};
    std::strftime(text, sizeof text, "%Y%m%d_%H%M%S", std::localtime(&now));
    return text;
}

bool IsLogName(const std::string& name)
{
    const std::string form = "dddddddd_dddddd.log";
    if (name.size() != form.size()) return false;
    for (size_t i = 0; i < form.size(); ++i) {
        if (form[i] == 'd' ? !std::isdigit(static_cast<unsigned char>(name[i])) : name[i] != form[i]) return false;
    }
    return true;
}

bool IsOpen(Platform::FileHandle file) { return file != nullptr && file != Platform::InvalidFileHandle(); }

std::string ReadText(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

class LogFiles : public FactoryTest {
protected:
    void SetUp() override
    {
        FactoryTest::SetUp();
        if (HasFatalFailure()) return;
        WriteOrvikIni("[logdefault]\nwritetologfile=E\noutputdebugstring=WE\nMaxFileCount=3\n"
                      "[8201]\ndll=fact_alpha.dll\n[8202]\ndll=fact_alpha.dll\noutputdebugstring=T\n");
        factory_ = Factory();
        factory_->SetRootPath(scratch_.Framework().c_str());
    }

    LogQuery Query(IProviderProbe* component)
    {
        LogQuery query{};
        component->QueryLog(&query);
        return query;
    }

    fs::path LogDirectory() const { return scratch_.native() / "OrvikLog"; }
    std::set<std::string> Names() const
    {
        std::set<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(LogDirectory())) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }

    IOrvikComponentFactory* factory_ = nullptr;
};

TEST_F(LogFiles, FirstQueryOpensTheFileUnderTheRootPath)
{
    IProviderProbe* quiet = client_->Keep(kAlphaOnlyId);
    ASSERT_NE(quiet, nullptr);
    const LogQuery none = Query(quiet);
    EXPECT_EQ(none.debugOutputMask, LOG_T) << "the section's own setting";
    EXPECT_EQ(none.logFileMask, 0u);
    EXPECT_EQ(none.info, nullptr);
    EXPECT_FALSE(fs::exists(LogDirectory())) << "no file without file logging";
    quiet->Release(0);

    IProviderProbe* component = client_->Keep(kCommonId);
    ASSERT_NE(component, nullptr);
    const std::string before = LocalStamp();
    const LogQuery query = Query(component);
    const std::string after = LocalStamp();
    EXPECT_EQ(query.debugOutputMask, LOG_W | LOG_E);
    EXPECT_EQ(query.logFileMask, LOG_E);
    ASSERT_NE(query.info, nullptr);
    EXPECT_TRUE(IsOpen(query.info->file));
    EXPECT_NE(query.info->lock, nullptr);
    EXPECT_EQ(query.info->maxFileCount, 3u);
    EXPECT_EQ(query.info->maxFileSize, 40u << 20) << "the default limit";

    const std::set<std::string> names = Names();
    ASSERT_EQ(names.size(), 1u);
    const std::string name = *names.begin();
    EXPECT_TRUE(IsLogName(name)) << name;
    EXPECT_LE(before, name.substr(0, 15));
    EXPECT_GE(after, name.substr(0, 15));
    EXPECT_TRUE(fs::is_regular_file(LogDirectory() / name));

    const LogQuery again = Query(component);
    EXPECT_EQ(again.info, query.info) << "the one record of the process";
    EXPECT_EQ(again.info->file, query.info->file);
    EXPECT_EQ(Names().size(), 1u);
    component->Release(0);
}

TEST_F(LogFiles, StartNewLogFileReplacesTheFile)
{
    IProviderProbe* component = client_->Keep(kCommonId);
    ASSERT_NE(component, nullptr);
    const LogQuery query = Query(component);
    ASSERT_NE(query.info, nullptr);
    const std::string first = *Names().begin();
    uint32_t written = 0;
    ASSERT_TRUE(Platform::WriteToFile(query.info->file, "first\n", 6, &written));

    // A new name needs a new second.
    while (LocalStamp() + ".log" <= first) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const Platform::FileHandle replaced = factory_->StartNewLogFile();
    EXPECT_TRUE(IsOpen(replaced));
    EXPECT_EQ(query.info->file, replaced) << "components see the new file through the record";

    const std::set<std::string> names = Names();
    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(*names.begin(), first);
    EXPECT_EQ(ReadText(LogDirectory() / first), "first\n");
    EXPECT_EQ(fs::file_size(LogDirectory() / *names.rbegin()), 0u);
    // Windows refuses to delete a file still open without delete sharing.
    EXPECT_TRUE(fs::remove(LogDirectory() / first)) << "the first file was closed";
    component->Release(0);
}

TEST_F(LogFiles, ShutdownKeepsTheNewestByLastWriteTime)
{
    const fs::path directory = LogDirectory();
    fs::create_directories(directory / "sub.log");
    const auto now = fs::file_time_type::clock::now();
    auto place = [&](const fs::path& path, int hoursAgo) {
        std::ofstream(path) << "old\n";
        fs::last_write_time(path, now - std::chrono::hours(hoursAgo));
    };
    place(directory / "19990101_000000.log", 1);  // the oldest name, written last
    place(directory / "20200101_000003.log", 3);
    place(directory / "20200101_000002.log", 4);
    place(directory / "20200101_000001.log", 5);
    place(directory / "upper.LOG", 9);
    place(directory / "notes.txt", 9);
    place(directory / "sub.log" / "inner.log", 9);

    IProviderProbe* component = client_->Keep(kCommonId);
    ASSERT_NE(component, nullptr);
    ASSERT_NE(Query(component).info, nullptr);
    component->Release(0);
    const std::set<std::string> running = Names();
    ASSERT_EQ(running.size(), 8u) << "a running process deletes no log file";
    const auto current = std::find_if(running.begin(), running.end(), [](const std::string& name) {
        return IsLogName(name) && name.compare(0, 2, "20") == 0 && name.compare(0, 4, "2020") != 0;
    });
    ASSERT_NE(current, running.end());

    UnloadIdleProviders();
    EndFactory();
    EXPECT_EQ(Names(), (std::set<std::string>{*current, "19990101_000000.log", "20200101_000003.log", "upper.LOG",
                                              "notes.txt", "sub.log"}));
    EXPECT_TRUE(fs::exists(directory / "sub.log" / "inner.log"));
}

}  // namespace
}  // namespace Orvik::Testing
