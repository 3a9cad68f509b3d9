// The record of the last failed load: the loader's words, the missing
// dependency by name, one record per thread shared by all modules.

#include "orvik/platform/load_failure.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <thread>

#include "orvik/platform/module_loader.h"
#include "tests/support/test_paths.h"

namespace Orvik {
namespace {

using Testing::ProgramDirectory;

std::string InProgramDirectory(const char* name) { return ProgramDirectory() + "\\" + name; }

Platform::LoadFailure LastFailure()
{
    Platform::LoadFailure failure;
    EXPECT_TRUE(Platform::GetLastLoadFailure(&failure));
    return failure;
}

TEST(LoadFailure, KeepsTheLoadersAccountOfEachFailure)
{
    Testing::ScratchDirectory scratch("load_failure");
    std::ofstream(scratch.native() / "text.dll") << "not a module\n";
    struct Case {
        std::string path;
        uint32_t code;
        std::string missingModule;
    };
    const Case cases[] = {
        {InProgramDirectory("no_such_module.dll"), Platform::kErrorModuleNotFound, ""},
        {InProgramDirectory("orphan.dll"), Platform::kErrorModuleNotFound, "vanishing.dll"},
        {scratch.Framework("text.dll"), Platform::kErrorBadExeFormat, ""},
    };
    for (const Case& entry : cases) {
        const uint32_t before = [] {
            Platform::LoadFailure failure;
            Platform::GetLastLoadFailure(&failure);
            return failure.count;
        }();
        EXPECT_EQ(Platform::LoadModule(entry.path.c_str()), nullptr) << entry.path;
        EXPECT_EQ(Platform::GetLastErrorCode(), entry.code) << "the record leaves the last error alone";
        const Platform::LoadFailure failure = LastFailure();
        EXPECT_EQ(failure.count, before + 1);
        EXPECT_EQ(failure.code, entry.code);
        EXPECT_EQ(failure.path, entry.path);
        EXPECT_STRNE(failure.text, "");
        if (entry.missingModule.empty()) {
            EXPECT_STREQ(failure.missingModule, "") << failure.text;
        } else {
            // dlerror() may name the dependency with the path it tried.
            EXPECT_NE(std::string(failure.missingModule).find(entry.missingModule), std::string::npos) << failure.text;
        }
        EXPECT_STREQ(failure.missingSymbol, "");
    }

    // A load that succeeds leaves the last failure as it was.
    const Platform::UniqueModule loaded(Platform::LoadModule(InProgramDirectory("probe_a.dll").c_str()));
    ASSERT_TRUE(loaded);
    EXPECT_EQ(LastFailure().path, scratch.Framework("text.dll"));
}

TEST(LoadFailure, EachThreadHasItsOwnAndEveryModuleSeesIt)
{
    const std::string missing = InProgramDirectory("missing_here.dll");
    EXPECT_EQ(Platform::LoadModule(missing.c_str()), nullptr);

    std::thread other([] {
        Platform::LoadFailure failure;
        EXPECT_FALSE(Platform::GetLastLoadFailure(&failure)) << "nothing failed on this thread yet";
        EXPECT_EQ(failure.count, 0u);
        EXPECT_EQ(Platform::LoadModule(InProgramDirectory("missing_there.dll").c_str()), nullptr);
        EXPECT_EQ(std::string(LastFailure().path), InProgramDirectory("missing_there.dll"));
    });
    other.join();
    EXPECT_EQ(LastFailure().path, missing);

    // A module with its own copy of the platform layer records into the
    // same place.
    const Platform::UniqueModule probe(Platform::LoadModule(InProgramDirectory("probe_b.dll").c_str()));
    ASSERT_TRUE(probe);
    auto loadFails = reinterpret_cast<int (*)(const char*)>(Platform::FindExport(probe.get(), "ProbeLoadFails"));
    ASSERT_NE(loadFails, nullptr);
    const std::string viaModule = InProgramDirectory("missing_via_module.dll");
    EXPECT_EQ(loadFails(viaModule.c_str()), 1);
    EXPECT_EQ(LastFailure().path, viaModule);
}

TEST(LoadFailure, AModuleThatLoadsHasNoUnresolvedImport)
{
    char symbol[Platform::kMaxPath] = "x";
    EXPECT_FALSE(Platform::FindUnresolvedImport(InProgramDirectory("probe_a.dll").c_str(), symbol, sizeof symbol));
    EXPECT_STREQ(symbol, "");
}

}  // namespace
}  // namespace Orvik
