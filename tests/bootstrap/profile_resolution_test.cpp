#include "bootstrap/profile_resolution.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/test_paths.h"

namespace Orvik::Testing {
namespace {

using Table = std::vector<std::pair<std::string, std::string>>;

void WriteProfile(const std::string& path, const std::string& text)
{
    std::filesystem::create_directories(NativePath(path).parent_path());
    std::ofstream(NativePath(path), std::ios::binary) << text;
}

std::string RedirectTo(const std::string& target) { return "[Redirect]\nPath=" + target + "\n"; }

// Every separator after the first character becomes a forward slash; the
// path stays absolute (leading backslash or drive colon).
std::string WithForwardSlashes(std::string path)
{
    std::replace(path.begin() + 1, path.end(), '\\', '/');
    return path;
}

// What a resolver writes into a buffer of size bytes; the bytes after it
// must stay untouched.
template <typename Resolver>
std::string Resolve(Resolver resolver, const char* input, int size = 260)
{
    std::vector<char> out(size + 8, '#');
    resolver(input, out.data(), size);
    EXPECT_EQ(std::string(out.end() - 8, out.end()), "########") << "written past the buffer";
    return std::string(out.begin(), std::find(out.begin(), out.begin() + size, '\0'));
}
std::string ProfilePath(const std::string& configPath) { return Resolve(ResolveProfilePath, configPath.c_str()); }
std::string ModulePath(const std::string& profile) { return Resolve(ResolveFactoryModulePath, profile.c_str()); }

TEST(ProfileStart, RelativePathsJoinTheHostDirectoryAndAbsoluteOnesStay)
{
    EXPECT_EQ(ProfilePath(""), ProfilePath("Orvik.ini"));
    EXPECT_EQ(Resolve(ResolveProfilePath, nullptr), ProfilePath("Orvik.ini"));
    const std::string host = ProgramDirectory() + "\\";
    const std::string longName(300, 'a');
    const Table cases = {
        {"Cfg\\Game.ini", host + "Cfg\\Game.ini"},
        {"/Cfg/Game.ini", host + "/Cfg/Game.ini"},
        {longName, (host + longName).substr(0, 259)},
        {"D:\\Cfg\\Game.ini", "D:\\Cfg\\Game.ini"},
        {"D:Game.ini", "D:Game.ini"},
        {"\\\\nohost\\share\\Orvik.ini", "\\\\nohost\\share\\Orvik.ini"},
        {"\\nodir\\Game.ini", "\\nodir\\Game.ini"},
        {"\\" + longName, ("\\" + longName).substr(0, 259)},
    };
    for (const auto& [path, expected] : cases) EXPECT_EQ(expected, ProfilePath(path)) << path;
    EXPECT_EQ("D:\\Cfg\\", Resolve(ResolveProfilePath, "D:\\Cfg\\Game.ini", 8)) << "cut to the caller's buffer";

    if (std::filesystem::exists(NativePath(host + "Orvik.ini"))) GTEST_SKIP() << "the host's Orvik.ini may redirect";
    EXPECT_EQ(host + "Orvik.ini", ProfilePath(""));
}

TEST(ProfileStart, RelativeConfigurationPathIsReadBesideTheHost)
{
    // A directory of this test's own below the host's; no test touches the
    // host's Orvik.ini.
    ScratchDirectory target("profile_target");
    const std::string name = "profile_resolution_test";
    WriteProfile(ProgramDirectory() + "\\" + name + "\\Game.ini", RedirectTo(target.Framework("Final.ini")));
    const std::string resolved = ProfilePath(name + "\\Game.ini");
    std::filesystem::remove_all(NativePath(ProgramDirectory() + "\\" + name));
    EXPECT_EQ(target.Framework("Final.ini"), resolved);
}

class ProfileTest : public ::testing::Test {
protected:
    std::string Path(const std::string& name) const { return dir_.Framework(name); }
    // Profiles in the test's directory, named relative to it, and nothing else.
    void WriteOnly(const Table& profiles)
    {
        for (const auto& entry : std::filesystem::directory_iterator(dir_.native())) {
            std::filesystem::remove_all(entry.path());
        }
        for (const auto& [name, text] : profiles) WriteProfile(Path(name), text);
    }

    ScratchDirectory dir_{std::string("profile_") + ::testing::UnitTest::GetInstance()->current_test_info()->name()};
};

TEST_F(ProfileTest, RedirectsAreFollowedUntilRelativeBlankOrRepeated)
{
    const std::string slashedA = WithForwardSlashes(Path("A.ini"));
    const std::string slashedB = WithForwardSlashes(Path("B.ini"));
    const std::string plain = "[361]\nDLL=OrvFact.dll\n";
    const struct {
        Table profiles;
        std::string start;
        std::string expected;
    } scenarios[] = {
        {{{"A.ini", plain}}, "A.ini", Path("A.ini")},
        {{{"A.ini", "[Redirect]\nPath=\"  \t\"\n"}}, "A.ini", Path("A.ini")},
        {{}, "missing.ini", Path("missing.ini")},
        {{{"A.ini", RedirectTo(Path("B.ini"))}, {"B.ini", RedirectTo(Path("C.ini"))}, {"C.ini", plain}},
         "A.ini", Path("C.ini")},
        // Forward slashes and network paths.
        {{{"A.ini", RedirectTo(slashedB)}, {"B.ini", RedirectTo("\\\\nohost\\share\\C.ini")}},
         "A.ini", "\\\\nohost\\share\\C.ini"},
        {{{"A.ini", RedirectTo(slashedB)}, {"B.ini", ""}}, "A.ini", slashedB},
        {{{"A.ini", RedirectTo("sub/B.ini")}}, "A.ini", Path("") + "\\sub/B.ini"},
        // A relative redirect ends the chain unread.
        {{{"A.ini", RedirectTo("sub\\B.ini")}, {"sub\\B.ini", RedirectTo(Path("C.ini"))}}, "A.ini", Path("sub\\B.ini")},
        {{{"A.ini", RedirectTo(Path("sub\\B.ini"))}, {"sub\\B.ini", RedirectTo("..\\C.ini")},
          {"C.ini", RedirectTo(Path("A.ini"))}},
         "A.ini", Path("sub\\..\\C.ini")},
        // A cycle stops at the last profile reached, spellings compared as written.
        {{{"A.ini", RedirectTo(Path("A.ini"))}}, "A.ini", Path("A.ini")},
        {{{"A.ini", RedirectTo(Path("B.ini"))}, {"B.ini", RedirectTo(Path("A.ini"))}}, "A.ini", Path("B.ini")},
        {{{"A.ini", RedirectTo(Path("B.ini"))}, {"B.ini", RedirectTo(Path("A.ini"))}}, "B.ini", Path("A.ini")},
        {{{"S.ini", RedirectTo(Path("A.ini"))}, {"A.ini", RedirectTo(Path("B.ini"))},
          {"B.ini", RedirectTo(Path("A.ini"))}},
         "S.ini", Path("B.ini")},
        {{{"A.ini", RedirectTo(slashedA)}}, "A.ini", slashedA},
    };
    for (const auto& scenario : scenarios) {
        WriteOnly(scenario.profiles);
        EXPECT_EQ(scenario.expected, ProfilePath(Path(scenario.start)))
            << scenario.start << " of " << scenario.profiles.size() << " profiles, expecting " << scenario.expected;
    }
}

TEST_F(ProfileTest, ModulePathFollowsTheOutcomeTable)
{
    const std::string modules = Path("mods");
    const std::string here = Path("");
    Table cases = {
        // "DLL" absolute: taken as it is.
        {"[361]\nDLL=" + modules + "\\OrvFact.dll\nNotUseDefaultDllPath=0\n[DefaultValue]\nDllPath=Bin\n",
         modules + "\\OrvFact.dll"},
        {"[361]\nDLL=\\\\server\\share\\OrvFact.dll\n", "\\\\server\\share\\OrvFact.dll"},
        {"[361]\nDLL=D:OrvFact.dll\n[DefaultValue]\nDllPath=Bin\n", "D:OrvFact.dll"},
        // Blank default directory.
        {"[361]\nDLL=OrvFact.dll\n", here + "\\OrvFact.dll"},
        {"[361]\nDLL=OrvFact.dll\n[DefaultValue]\nDllPath=\"  \"\n", here + "\\OrvFact.dll"},
        // Absolute default directory, with the backslash added even after one.
        {"[361]\nDLL=OrvFact.dll\n[DefaultValue]\nDllPath=" + modules + "\n", modules + "\\OrvFact.dll"},
        {"[361]\nDLL=OrvFact.dll\n[DefaultValue]\nDllPath=" + modules + "\\\n", modules + "\\\\OrvFact.dll"},
        // Relative default directory, placed beside the profile.
        {"[361]\nDLL=OrvFact.dll\nNotUseDefaultDllPath=0\n[DefaultValue]\nDllPath=Bin\n", here + "\\Bin\\OrvFact.dll"},
        {"[361]\nDLL=sub\\OrvFact.dll\n[DefaultValue]\nDllPath=..\\Bin\n", here + "\\..\\Bin\\sub\\OrvFact.dll"},
        // "DLL" is trimmed but keeps inner blanks; 260 characters read as empty.
        {"[361]\nDLL=\" \tProgram Files\\OrvFact.dll\t \"\nNotUseDefaultDllPath=1\n",
         Path("Program Files\\OrvFact.dll")},
        {"[361]\nDLL=\"  \\" + std::string(258, 'd') + "\t\"\n", "\\" + std::string(258, 'd')},
        {"[361]\nDLL=\\" + std::string(259, 'd') + "\nNotUseDefaultDllPath=1\n", here + "\\"},
    };
    // Only a leading one switches the default directory off; ten characters
    // read as empty.
    for (const char* off : {"1", "10", "1abc", " 1", "\" \t1\""}) cases.push_back({off, here + "\\OrvFact.dll"});
    for (const char* on : {"0", "01", "", "1abcdefghi", "\"  \""}) cases.push_back({on, modules + "\\OrvFact.dll"});
    for (auto& [profile, expected] : cases) {
        if (profile.find('\n') == std::string::npos) {
            profile = "[361]\nDLL=OrvFact.dll\nNotUseDefaultDllPath=" + profile + "\n[DefaultValue]\nDllPath=" +
                      modules + "\n";
        }
        WriteOnly({{"Orvik.ini", profile}});
        EXPECT_EQ(expected, ModulePath(Path("Orvik.ini"))) << profile;
    }

    WriteOnly({{"Orvik.ini", "[361]\nDLL=a.dll\nNotUseDefaultDllPath=1\n"}});
    EXPECT_EQ("a.dll", Resolve(ResolveFactoryModulePath, Path("Orvik.ini").c_str(), 8));
    // A missing profile gives its directory alone.
    EXPECT_EQ(here + "\\", ModulePath(Path("missing.ini")));
    EXPECT_EQ("D:x.ini\\", ModulePath("D:x.ini"));
}

TEST_F(ProfileTest, ExampleRedirectAndDefaultDirectory)
{
    WriteOnly({{"App\\Orvik.ini", RedirectTo("..\\Conf\\Orvik.ini")},
               {"Conf\\Orvik.ini",
                RedirectTo(Path("Other.ini")) + "[361]\nDLL=OrvFact.dll\n[DefaultValue]\nDllPath=Bin\n"}});
    const std::string profile = ProfilePath(Path("App\\Orvik.ini"));
    EXPECT_EQ(Path("App\\..\\Conf\\Orvik.ini"), profile);
    EXPECT_EQ(Path("App\\..\\Conf\\Bin\\OrvFact.dll"), ModulePath(profile));
}

TEST_F(ProfileTest, FactoryModuleFromConfigReadsTheFinalProfile)
{
    // The path in one go is the two steps' path, and comes from the final
    // profile, also where the chain ended without reading it.
    const auto dll = [](const char* name) { return std::string("[361]\nDLL=") + name + "\nNotUseDefaultDllPath=1\n"; };
    const struct {
        Table profiles;
        std::string start;
        std::string expected;
    } scenarios[] = {
        {{{"A.ini", dll("a.dll")}}, "A.ini", Path("a.dll")},
        {{{"A.ini", RedirectTo(Path("B.ini")) + dll("a.dll")}, {"B.ini", dll("b.dll")}}, "A.ini", Path("b.dll")},
        {{{"A.ini", RedirectTo("sub\\B.ini") + dll("a.dll")}, {"sub\\B.ini", dll("b.dll")}}, "A.ini",
         Path("sub\\b.dll")},
        {{{"A.ini", RedirectTo(Path("B.ini")) + dll("a.dll")}, {"B.ini", RedirectTo(Path("A.ini")) + dll("b.dll")}},
         "A.ini", Path("b.dll")},
        {{}, "missing.ini", Path("") + "\\"},
    };
    for (const auto& scenario : scenarios) {
        WriteOnly(scenario.profiles);
        const std::string start = Path(scenario.start);
        EXPECT_EQ(scenario.expected, Resolve(ResolveFactoryModuleFromConfig, start.c_str())) << scenario.start;
        EXPECT_EQ(ModulePath(ProfilePath(start)), Resolve(ResolveFactoryModuleFromConfig, start.c_str()));
    }
}

TEST_F(ProfileTest, ReadProfileStringTrimsAndRefusesWhatDoesNotFit)
{
    WriteOnly({{"Orvik.ini", "[Sec]\nKey=\"\t abc \t\"\n"}});
    char out[8] = "old";
    ReadProfileString(Path("Orvik.ini").c_str(), "sec", "KEY", "", out, 4);
    EXPECT_STREQ("abc", out);
    ReadProfileString(Path("Orvik.ini").c_str(), "Sec", "Key", "", out, 3);
    EXPECT_STREQ("", out);
    ReadProfileString(Path("Orvik.ini").c_str(), "Sec", "Other", "  dflt", out, sizeof out);
    EXPECT_STREQ("dflt", out);
}

}  // namespace
}  // namespace Orvik::Testing
