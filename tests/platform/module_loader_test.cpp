#include "orvik/platform/module_loader.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/test_paths.h"

namespace Orvik {
namespace {

using Platform::ModuleHandle;
using Testing::ProgramDirectory;

template <typename Function>
Function Export(ModuleHandle module, const char* name)
{
    return reinterpret_cast<Function>(Platform::FindExport(module, name));
}

std::string ProbePath(const char* name) { return ProgramDirectory() + "\\" + name; }

// A last error no call of the loader gives.
constexpr uint32_t kMarker = 12345;

// The last error the call leaves, the marker set just before it.
template <typename Call>
uint32_t ErrorAfter(Call call)
{
    Platform::SetLastErrorCode(kMarker);
    call();
    return Platform::GetLastErrorCode();
}

TEST(ModuleLoader, LoadsByPathOrBareNameAndFindsModulesIgnoringCase)
{
    ModuleHandle byPath = Platform::LoadModule(ProbePath("probe_a.dll").c_str());
    ASSERT_NE(byPath, nullptr);
    ModuleHandle byName = Platform::LoadModule("probe_a");  // ".dll" is added
    EXPECT_EQ(byName, byPath);
    // The module's own view of its handle is the one loading returned.
    auto selfHandle = Export<void* (*)()>(byPath, "ProbeSelfHandle");
    ASSERT_NE(selfHandle, nullptr);
    EXPECT_EQ(selfHandle(), byPath);

    for (const std::string& name : {std::string("PROBE_A.DLL"), std::string("Probe_A"), ProbePath("probe_a.dll")}) {
        EXPECT_EQ(Platform::FindLoadedModule(name.c_str()), byPath) << name;
    }
    EXPECT_EQ(Platform::FindLoadedModule("probe_a.so"), nullptr);
    EXPECT_EQ(Platform::FindLoadedModule("robe_a.dll"), nullptr);
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorModuleNotFound);
    EXPECT_TRUE(Platform::ReleaseModule(byName));
    EXPECT_TRUE(Platform::ReleaseModule(byPath));
}

TEST(ModuleLoader, NamesModulesWithBackslashPaths)
{
    char path[Platform::kMaxPath] = {};
    ASSERT_GT(Platform::GetModuleFilePath(nullptr, path, sizeof path), 0u);
    const std::string program(path);
    EXPECT_EQ(program.find('/'), std::string::npos) << program;
    EXPECT_NE(program.find("platform_tests"), std::string::npos) << program;
    Platform::GetModuleFilePath(Platform::FindLoadedModule(nullptr), path, sizeof path);
    EXPECT_EQ(program, path);

    ModuleHandle module = Platform::LoadModule(ProbePath("probe_a.dll").c_str());
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(Platform::GetModuleFilePath(module, path, sizeof path), ProbePath("probe_a.dll").size());
    EXPECT_EQ(std::string(path), ProbePath("probe_a.dll"));

    // A cut path is terminated and reports the buffer's size.
    char small[6];
    std::memset(small, 'x', sizeof small);
    EXPECT_EQ(Platform::GetModuleFilePath(module, small, sizeof small), sizeof small);
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorInsufficientBuffer);
    EXPECT_EQ(std::string(small, sizeof small), ProbePath("probe_a.dll").substr(0, 5) + '\0');
    // Success clears the error.
    Platform::SetLastErrorCode(Platform::kErrorInsufficientBuffer);
    EXPECT_GT(Platform::GetModuleFilePath(module, path, sizeof path), 0u);
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorSuccess);
    Platform::ReleaseModule(module);
}

TEST(ModuleLoader, SuccessLeavesTheLastErrorAlone)
{
    // The module is loaded, and its path named, before the calls watched: a
    // first load may leave a number of its own (32-bit Wine leaves 126), and
    // naming the path reads the program's file name, which clears the error.
    const std::string path = ProbePath("probe_a.dll");
    const Platform::UniqueModule held(Platform::LoadModule(path.c_str()));
    ASSERT_TRUE(held);
    ModuleHandle byPath = nullptr;
    ModuleHandle byName = nullptr;
    EXPECT_EQ(ErrorAfter([&] { byPath = Platform::LoadModule(path.c_str()); }), kMarker);
    EXPECT_EQ(ErrorAfter([&] { byName = Platform::LoadModule("probe_a"); }), kMarker);
    EXPECT_EQ(byPath, held.get());
    EXPECT_EQ(byName, held.get());

    ModuleHandle found = nullptr;
    ModuleHandle program = nullptr;
    EXPECT_EQ(ErrorAfter([&] { found = Platform::FindLoadedModule("PROBE_A"); }), kMarker);
    EXPECT_EQ(ErrorAfter([&] { program = Platform::FindLoadedModule(nullptr); }), kMarker);
    EXPECT_EQ(found, held.get());
    EXPECT_NE(program, nullptr);

    Platform::ExportedFunction function = nullptr;
    ModuleHandle owner = nullptr;
    EXPECT_EQ(ErrorAfter([&] { function = Platform::FindExport(held.get(), "ProbeCountCall"); }), kMarker);
    ASSERT_NE(function, nullptr);
    EXPECT_EQ(ErrorAfter([&] { owner = Platform::ModuleContainingAddress(reinterpret_cast<void*>(function)); }),
              kMarker);
    EXPECT_EQ(owner, held.get());

    bool released = false;
    EXPECT_EQ(ErrorAfter([&] { released = Platform::ReleaseModule(byName); }), kMarker);
    EXPECT_TRUE(released);
    Platform::ReleaseModule(byPath);
}

TEST(ModuleLoader, LoadingDropsTrailingBlanksFindingKeepsThem)
{
    // Loading drops trailing blanks before it adds ".dll", whether the module
    // is loaded yet or not, by name or by path.
    ModuleHandle module = Platform::LoadModule("probe_a   ");
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(Platform::FindLoadedModule("probe_a.dll"), module);
    const std::string blanks = "  ";
    for (const std::string& name : {std::string("probe_a") + blanks, ProbePath("probe_a") + blanks,
                                    ProbePath("probe_a.dll") + blanks}) {
        ModuleHandle again = nullptr;
        EXPECT_EQ(ErrorAfter([&] { again = Platform::LoadModule(name.c_str()); }), kMarker) << name;
        EXPECT_EQ(again, module) << name;
        Platform::ReleaseModule(again);
    }

    // Finding a loaded module keeps them: "probe_a   .dll" names none.
    ModuleHandle found = module;
    EXPECT_EQ(ErrorAfter([&] { found = Platform::FindLoadedModule("probe_a   "); }), Platform::kErrorModuleNotFound);
    EXPECT_EQ(found, nullptr);
    EXPECT_TRUE(Platform::ReleaseModule(module));
    EXPECT_EQ(Platform::FindLoadedModule("probe_a"), nullptr);
}

TEST(ModuleLoader, AnAddressInNoModuleIsReportedMissing)
{
    // Heap memory belongs to no module.
    const auto block = std::make_unique<char[]>(64);
    ModuleHandle owner = Platform::InvalidModule();
    EXPECT_EQ(ErrorAfter([&] { owner = Platform::ModuleContainingAddress(block.get()); }),
              Platform::kErrorModuleNotFound);
    EXPECT_EQ(owner, nullptr);
}

TEST(ModuleLoader, ModuleLeavesMemoryWithItsLastReference)
{
    ModuleHandle first = Platform::LoadModule(ProbePath("probe_b.dll").c_str());
    ASSERT_NE(first, nullptr);
    auto countCall = Export<int (*)()>(first, "ProbeCountCall");
    ASSERT_NE(countCall, nullptr);
    EXPECT_EQ(countCall(), 1);
    EXPECT_EQ(countCall(), 2);

    ModuleHandle second = Platform::LoadModule(ProbePath("probe_b.dll").c_str());
    EXPECT_EQ(second, first);
    EXPECT_TRUE(Platform::ReleaseModule(second));
    EXPECT_EQ(Platform::FindLoadedModule("probe_b.dll"), first);  // one reference left
    EXPECT_NE(Platform::FindExport(first, "ProbeCountCall"), nullptr);
    char path[Platform::kMaxPath] = {};
    EXPECT_EQ(Platform::GetModuleFilePath(first, path, sizeof path), ProbePath("probe_b.dll").size());
    EXPECT_TRUE(Platform::ReleaseModule(first));
    EXPECT_EQ(Platform::FindLoadedModule("probe_b.dll"), nullptr);
    // Its handle names no module any more.
    EXPECT_EQ(Platform::FindExport(first, "ProbeCountCall"), nullptr);
    EXPECT_FALSE(Platform::ReleaseModule(first));
    EXPECT_EQ(Platform::FindExport(Platform::InvalidModule(), "ProbeCountCall"), nullptr);

    // Loaded again, its state starts afresh: the old copy was gone.
    ModuleHandle again = Platform::LoadModule(ProbePath("probe_b.dll").c_str());
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(Export<int (*)()>(again, "ProbeCountCall")(), 1);
    Platform::ReleaseModule(again);
}

#if !defined(_WIN32)
TEST(ModuleLoader, ModuleLoadedUnderSeveralNamesLeavesWithItsLastReference)
{
    // A link is another name of the same file: the loader hands out the
    // module it holds, and every load counts as one reference of the module.
    Testing::ScratchDirectory scratch("loader_link");
    const std::filesystem::path link = scratch.native() / "linked_probe.dll";
    std::filesystem::create_symlink(Testing::NativePath(ProbePath("probe_b.dll")), link);
    ModuleHandle byPath = Platform::LoadModule(ProbePath("probe_b.dll").c_str());
    ASSERT_NE(byPath, nullptr);
    EXPECT_EQ(Export<int (*)()>(byPath, "ProbeCountCall")(), 1);
    ModuleHandle byLink = Platform::LoadModule(link.string().c_str());
    ModuleHandle byName = Platform::LoadModule("probe_b");
    ModuleHandle again = Platform::LoadModule(ProbePath("probe_b.dll").c_str());
    EXPECT_EQ(byLink, byPath);
    EXPECT_EQ(byName, byPath);
    EXPECT_EQ(again, byPath);

    for (ModuleHandle reference : {byLink, byName, again}) {
        EXPECT_TRUE(Platform::ReleaseModule(reference));
        // Still the same copy, with its state.
        EXPECT_EQ(Platform::FindLoadedModule("probe_b.dll"), byPath);
    }
    EXPECT_EQ(Export<int (*)()>(byPath, "ProbeCountCall")(), 2);
    EXPECT_TRUE(Platform::ReleaseModule(byPath));
    EXPECT_EQ(Platform::FindLoadedModule("probe_b.dll"), nullptr);
    EXPECT_FALSE(Platform::ReleaseModule(byPath));
}
#endif

TEST(ModuleLoader, ThreadsLoadAndReleaseOneModuleTogether)
{
    // Each thread's own reference keeps the module loaded while it asks,
    // whatever the others load and release meanwhile.
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&failures] {
            for (int i = 0; i < 100; ++i) {
                ModuleHandle module = Platform::LoadModule(ProbePath("probe_b.dll").c_str());
                char path[Platform::kMaxPath] = {};
                if (module == nullptr || Platform::FindExport(module, "ProbeCountCall") == nullptr ||
                    Platform::GetModuleFilePath(module, path, sizeof path) == 0 || !Platform::ReleaseModule(module)) {
                    ++failures;
                }
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(Platform::FindLoadedModule("probe_b.dll"), nullptr);
}

TEST(ModuleLoader, ExportsOfAHeldModuleAnswerWhileOthersComeAndGo)
{
    // Exports found before are answered without the table's lock: they stay
    // right while another thread's loads and releases change the table.
    ModuleHandle held = Platform::LoadModule(ProbePath("probe_a.dll").c_str());
    ASSERT_NE(held, nullptr);
    const Platform::ExportedFunction first = Platform::FindExport(held, "ProbeCountCall");
    ASSERT_NE(first, nullptr);
    std::atomic<bool> done{false};
    std::atomic<int> failures{0};
    std::thread churn([&] {
        for (int i = 0; i < 200; ++i) {
            ModuleHandle other = Platform::LoadModule(ProbePath("probe_b.dll").c_str());
            if (other == nullptr || Platform::FindExport(other, "ProbeCountCall") == nullptr ||
                Platform::FindExport(other, "ProbeCountCall") == first || !Platform::ReleaseModule(other)) {
                ++failures;
            }
        }
        done = true;
    });
    while (!done) {
        if (Platform::FindExport(held, "ProbeCountCall") != first) ++failures;
        if (Platform::FindExport(held, "NoSuchExport") != nullptr) ++failures;
    }
    churn.join();
    EXPECT_EQ(failures, 0);
    EXPECT_TRUE(Platform::ReleaseModule(held));
}

TEST(ModuleLoader, LookingForModulesNeverKeepsOneAnotherThreadReleased)
{
    // Finding a module by name walks every loaded object while another
    // thread loads and releases one: the module is found only while held,
    // and the release that drops the last reference unloads it at once.
    std::atomic<bool> done{false};
    std::atomic<int> failures{0};
    std::thread loader([&] {
        for (int i = 0; i < 200; ++i) {
            ModuleHandle module = Platform::LoadModule(ProbePath("probe_a.dll").c_str());
            if (module == nullptr || !Platform::ReleaseModule(module) ||
                Platform::FindLoadedModule("probe_a.dll") != nullptr) {
                ++failures;
            }
        }
        done = true;
    });
    while (!done) {
        if (Platform::FindLoadedModule("no_such_module.dll") != nullptr) ++failures;
        Platform::FindLoadedModule("probe_a.dll");
    }
    loader.join();
    EXPECT_EQ(failures, 0);
}

TEST(ModuleLoader, FailedLoadsGiveWindowsErrorNumbers)
{
    // Missing by path or by name, in a missing directory, a directory, and a
    // module whose dependency is missing: all read as a missing module.
    for (const std::string& path : {ProbePath("no_such_module.dll"), std::string("no_such_module"),
                                    ProbePath("no_such_dir\\x.dll"), ProbePath(""), ProbePath("orphan.dll")}) {
        EXPECT_EQ(Platform::LoadModule(path.c_str()), nullptr) << path;
        EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorModuleNotFound) << path;
    }
    Testing::ScratchDirectory scratch("loader_errors");
    std::ofstream(scratch.native() / "text.dll") << "not a module\n";
    EXPECT_EQ(Platform::LoadModule(scratch.Framework("text.dll").c_str()), nullptr);
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorBadExeFormat);
}

TEST(ModuleLoader, FindsOnlyTheModulesOwnExports)
{
    ModuleHandle module = Platform::LoadModule(ProbePath("dependent.dll").c_str());
    ASSERT_NE(module, nullptr);
    auto value = Export<int (*)()>(module, "DependentValue");
    ASSERT_NE(value, nullptr);
    EXPECT_GE(value(), 1);

    // probe_a.dll is loaded as its dependency, but its exports are its own.
    EXPECT_EQ(Platform::FindExport(module, "ProbeCountCall"), nullptr);
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorProcedureNotFound);
    EXPECT_EQ(Platform::FindExport(module, "NoSuchExport"), nullptr);
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorProcedureNotFound);
    EXPECT_NE(Platform::FindExport(Platform::FindLoadedModule("probe_a"), "ProbeCountCall"), nullptr);
    Platform::ReleaseModule(module);
}

TEST(ModuleLoader, BareNamesAreSearchedInTheCurrentDirectoryToo)
{
    Testing::ScratchDirectory scratch("loader_cwd");
    std::filesystem::copy_file(Testing::NativePath(ProbePath("probe_b.dll")), scratch.native() / "cwd_probe.dll");
    const std::filesystem::path previous = std::filesystem::current_path();
    std::filesystem::current_path(scratch.native());
    ModuleHandle module = Platform::LoadModule("cwd_probe");
    std::filesystem::current_path(previous);

    ASSERT_NE(module, nullptr);
    EXPECT_EQ(Export<int (*)()>(module, "ProbeCountCall")(), 1);
    Platform::ReleaseModule(module);
}

}  // namespace
}  // namespace Orvik
