#include "bootstrap/profile_resolution.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/test_paths.h"

using Orvik::Testing::FrameworkPath;
using Orvik::Testing::NativePath;
using Orvik::Testing::ProgramDirectory;
using Orvik::Testing::ScratchDirectory;

namespace {

constexpr int kPathSize = 260;

void WriteProfile(const std::string& path, const std::string& text)
{
    std::ofstream(NativePath(path), std::ios::binary) << text;
}

std::string RedirectTo(const std::string& target) { return "[Redirect]\nPath=" + target + "\n"; }

std::string ProfilePath(const char* configPath)
{
    char out[kPathSize];
    std::memset(out, '#', sizeof out);
    Orvik::ResolveProfilePath(configPath, out, sizeof out);
    return out;
}

std::string ModulePath(const std::string& profile)
{
    char out[kPathSize];
    std::memset(out, '#', sizeof out);
    Orvik::ResolveFactoryModulePath(profile.c_str(), out, sizeof out);
    return out;
}

// Every separator after the first character becomes a forward slash; the
// path stays absolute (leading backslash or drive colon).
std::string WithForwardSlashes(std::string path)
{
    for (size_t i = 1; i < path.size(); ++i) {
        if (path[i] == '\\') path[i] = '/';
    }
    return path;
}

// A directory of its own for each test, so that tests can run side by side.
class ProfileTest : public ::testing::Test {
protected:
    ProfileTest() : dir_(std::string("profile_") + ::testing::UnitTest::GetInstance()->current_test_info()->name()) {}

    std::string Path(const std::string& name) const { return dir_.Framework(name); }
    void MakeDirectory(const std::string& name) const { std::filesystem::create_directories(dir_.native() / name); }

    ScratchDirectory dir_;
};

// Profile paths

TEST(ProfileStartTest, EmptyPathAndOrvikIniBothStartInTheHostDirectory)
{
    EXPECT_EQ(ProfilePath(""), ProfilePath("Orvik.ini"));
    EXPECT_EQ(ProfilePath(nullptr), ProfilePath("Orvik.ini"));
    const std::string hostProfile = ProgramDirectory() + "\\Orvik.ini";
    if (std::filesystem::exists(NativePath(hostProfile))) GTEST_SKIP() << hostProfile << " exists and may redirect";
    EXPECT_EQ(hostProfile, ProfilePath(""));
}

TEST(ProfileStartTest, RelativePathsAreJoinedToTheHostDirectory)
{
    EXPECT_EQ(ProgramDirectory() + "\\Cfg\\Game.ini", ProfilePath("Cfg\\Game.ini"));
    EXPECT_EQ(ProgramDirectory() + "\\/Cfg/Game.ini", ProfilePath("/Cfg/Game.ini"));
    const std::string longName(300, 'a');
    EXPECT_EQ((ProgramDirectory() + "\\" + longName).substr(0, 259), ProfilePath(longName.c_str()));
}

TEST(ProfileStartTest, AbsolutePathsAreUsedAsGiven)
{
    for (const char* path : {"D:\\Cfg\\Game.ini", "D:Game.ini", "\\\\nohost\\share\\Orvik.ini", "\\nodir\\Game.ini"}) {
        EXPECT_EQ(path, ProfilePath(path));
    }
    const std::string longPath = "\\" + std::string(300, 'a');
    EXPECT_EQ(longPath.substr(0, 259), ProfilePath(longPath.c_str()));
}

TEST_F(ProfileTest, RelativeConfigurationPathIsReadBesideTheHost)
{
    // A directory of this test's own below the host's; no test touches the
    // host's Orvik.ini.
    const std::string name = "profile_resolution_test";
    const std::filesystem::path beside = NativePath(ProgramDirectory() + "\\" + name);
    std::filesystem::remove_all(beside);
    std::filesystem::create_directory(beside);
    WriteProfile(ProgramDirectory() + "\\" + name + "\\Game.ini", RedirectTo(Path("Final.ini")));
    const std::string resolved = ProfilePath((name + "\\Game.ini").c_str());
    std::filesystem::remove_all(beside);
    EXPECT_EQ(Path("Final.ini"), resolved);
}

TEST(ProfileStartTest, ResultIsCutToTheCallersBuffer)
{
    char out[16];
    std::memset(out, '#', sizeof out);
    Orvik::ResolveProfilePath("D:\\Cfg\\Game.ini", out, 8);
    EXPECT_STREQ("D:\\Cfg\\", out);
    EXPECT_EQ(std::string(8, '#'), std::string(out + 8, 8));
}

// Redirects

TEST_F(ProfileTest, ProfileWithoutRedirectIsTheResult)
{
    WriteProfile(Path("A.ini"), "[361]\nDLL=OrvFact.dll\n");
    EXPECT_EQ(Path("A.ini"), ProfilePath(Path("A.ini").c_str()));
    WriteProfile(Path("A.ini"), "[Redirect]\nPath=\"  \t\"\n");
    EXPECT_EQ(Path("A.ini"), ProfilePath(Path("A.ini").c_str()));
    EXPECT_EQ(Path("missing.ini"), ProfilePath(Path("missing.ini").c_str()));
}

TEST_F(ProfileTest, AbsoluteRedirectsAreFollowedInARow)
{
    WriteProfile(Path("A.ini"), RedirectTo(Path("B.ini")));
    WriteProfile(Path("B.ini"), RedirectTo(Path("C.ini")));
    WriteProfile(Path("C.ini"), "[361]\nDLL=OrvFact.dll\n");
    EXPECT_EQ(Path("C.ini"), ProfilePath(Path("A.ini").c_str()));
}

TEST_F(ProfileTest, RedirectsMayUseForwardSlashesAndNetworkPaths)
{
    WriteProfile(Path("A.ini"), RedirectTo(WithForwardSlashes(Path("B.ini"))));
    WriteProfile(Path("B.ini"), RedirectTo("\\\\nohost\\share\\C.ini"));
    EXPECT_EQ("\\\\nohost\\share\\C.ini", ProfilePath(Path("A.ini").c_str()));
    WriteProfile(Path("B.ini"), "");
    EXPECT_EQ(WithForwardSlashes(Path("B.ini")), ProfilePath(Path("A.ini").c_str()));
    WriteProfile(Path("A.ini"), RedirectTo("sub/B.ini"));
    EXPECT_EQ(Path("") + "\\sub/B.ini", ProfilePath(Path("A.ini").c_str()));
}

TEST_F(ProfileTest, RelativeRedirectEndsTheChain)
{
    MakeDirectory("sub");
    WriteProfile(Path("A.ini"), RedirectTo("sub\\B.ini"));
    WriteProfile(Path("sub\\B.ini"), RedirectTo(Path("C.ini")));
    EXPECT_EQ(Path("sub\\B.ini"), ProfilePath(Path("A.ini").c_str()));

    WriteProfile(Path("A.ini"), RedirectTo(Path("sub\\B.ini")));
    WriteProfile(Path("sub\\B.ini"), RedirectTo("..\\C.ini"));
    WriteProfile(Path("C.ini"), RedirectTo(Path("A.ini")));
    EXPECT_EQ(Path("sub\\..\\C.ini"), ProfilePath(Path("A.ini").c_str()));
}

TEST_F(ProfileTest, RedirectCycleStopsAtTheLastProfileReached)
{
    WriteProfile(Path("A.ini"), RedirectTo(Path("A.ini")));
    EXPECT_EQ(Path("A.ini"), ProfilePath(Path("A.ini").c_str()));

    WriteProfile(Path("A.ini"), RedirectTo(Path("B.ini")));
    WriteProfile(Path("B.ini"), RedirectTo(Path("A.ini")));
    EXPECT_EQ(Path("B.ini"), ProfilePath(Path("A.ini").c_str()));
    EXPECT_EQ(Path("A.ini"), ProfilePath(Path("B.ini").c_str()));

    WriteProfile(Path("S.ini"), RedirectTo(Path("A.ini")));
    EXPECT_EQ(Path("B.ini"), ProfilePath(Path("S.ini").c_str()));
}

TEST_F(ProfileTest, CycleThroughAnotherSpellingEndsOnceThatSpellingRepeats)
{
    const std::string slashed = WithForwardSlashes(Path("A.ini"));
    WriteProfile(Path("A.ini"), RedirectTo(slashed));
    EXPECT_EQ(slashed, ProfilePath(Path("A.ini").c_str()));
}

// Factory module paths

TEST_F(ProfileTest, ModulePathFollowsTheOutcomeTable)
{
    const std::string modules = Path("mods");
    const std::string here = Path("");
    const std::vector<std::pair<std::string, std::string>> cases = {
        // "DLL" absolute: taken as it is.
        {"[361]\nDLL=" + modules + "\\OrvFact.dll\nNotUseDefaultDllPath=0\n[DefaultValue]\nDllPath=Bin\n",
         modules + "\\OrvFact.dll"},
        {"[361]\nDLL=\\\\server\\share\\OrvFact.dll\n", "\\\\server\\share\\OrvFact.dll"},
        {"[361]\nDLL=D:OrvFact.dll\n[DefaultValue]\nDllPath=Bin\n", "D:OrvFact.dll"},
        // Default directory switched off.
        {"[361]\nDLL=OrvFact.dll\nNotUseDefaultDllPath=1\n[DefaultValue]\nDllPath=" + modules + "\n",
         here + "\\OrvFact.dll"},
        // Blank default directory.
        {"[361]\nDLL=OrvFact.dll\n", here + "\\OrvFact.dll"},
        {"[361]\nDLL=OrvFact.dll\n[DefaultValue]\nDllPath=\"  \"\n", here + "\\OrvFact.dll"},
        // Absolute default directory, with the backslash added even after one.
        {"[361]\nDLL=OrvFact.dll\n[DefaultValue]\nDllPath=" + modules + "\n", modules + "\\OrvFact.dll"},
        {"[361]\nDLL=OrvFact.dll\n[DefaultValue]\nDllPath=" + modules + "\\\n", modules + "\\\\OrvFact.dll"},
        // Relative default directory, placed beside the profile.
        {"[361]\nDLL=OrvFact.dll\nNotUseDefaultDllPath=0\n[DefaultValue]\nDllPath=Bin\n",
         here + "\\Bin\\OrvFact.dll"},
        {"[361]\nDLL=sub\\OrvFact.dll\n[DefaultValue]\nDllPath=..\\Bin\n", here + "\\..\\Bin\\sub\\OrvFact.dll"},
    };
    for (const auto& [profile, expected] : cases) {
        SCOPED_TRACE(profile);
        WriteProfile(Path("Orvik.ini"), profile);
        EXPECT_EQ(expected, ModulePath(Path("Orvik.ini")));
    }
}

TEST_F(ProfileTest, OnlyALeadingOneSwitchesTheDefaultDirectoryOff)
{
    const std::string off = Path("OrvFact.dll");
    const std::string on = Path("mods\\OrvFact.dll");
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"1", off},    {"10", off}, {"1abc", off}, {" 1", off},        {"\" \t1\"", off},
        {"0", on},     {"01", on},  {"", on},      {"1abcdefghi", on},  // ten characters read as empty
        {"\"  \"", on},
    };
    for (const auto& [flag, expected] : cases) {
        SCOPED_TRACE("NotUseDefaultDllPath=" + flag);
        WriteProfile(Path("Orvik.ini"), "[361]\nDLL=OrvFact.dll\nNotUseDefaultDllPath=" + flag +
                                            "\n[DefaultValue]\nDllPath=" + Path("mods") + "\n");
        EXPECT_EQ(expected, ModulePath(Path("Orvik.ini")));
    }
}

TEST_F(ProfileTest, DllValueIsTrimmedButKeepsInnerBlanks)
{
    WriteProfile(Path("Orvik.ini"), "[361]\nDLL=Program Files\\OrvFact.dll\nNotUseDefaultDllPath=1\n");
    EXPECT_EQ(Path("Program Files\\OrvFact.dll"), ModulePath(Path("Orvik.ini")));
    WriteProfile(Path("Orvik.ini"), "[361]\nDLL=\" \tProgram Files\\OrvFact.dll\t \"\nNotUseDefaultDllPath=1\n");
    EXPECT_EQ(Path("Program Files\\OrvFact.dll"), ModulePath(Path("Orvik.ini")));
}

TEST_F(ProfileTest, DllValueOf260CharactersReadsAsEmpty)
{
    const std::string longest = "\\" + std::string(258, 'd');
    WriteProfile(Path("Orvik.ini"), "[361]\nDLL=\"  " + longest + "\t\"\nNotUseDefaultDllPath=1\n");
    EXPECT_EQ(longest, ModulePath(Path("Orvik.ini")));
    WriteProfile(Path("Orvik.ini"), "[361]\nDLL=" + longest + "d\nNotUseDefaultDllPath=1\n");
    EXPECT_EQ(Path("") + "\\", ModulePath(Path("Orvik.ini")));
}

TEST_F(ProfileTest, MissingProfileGivesItsDirectoryAlone)
{
    EXPECT_EQ(Path("") + "\\", ModulePath(Path("missing.ini")));
    EXPECT_EQ("D:x.ini\\", ModulePath("D:x.ini"));
}

TEST_F(ProfileTest, ModulePathStaysWithinTheCallersBuffer)
{
    WriteProfile(Path("Orvik.ini"), "[361]\nDLL=a.dll\nNotUseDefaultDllPath=1\n");
    char out[16];
    std::memset(out, '#', sizeof out);
    Orvik::ResolveFactoryModulePath(Path("Orvik.ini").c_str(), out, 8);
    EXPECT_STREQ("a.dll", out);
    EXPECT_EQ(std::string(8, '#'), std::string(out + 8, 8));
}

TEST_F(ProfileTest, ExampleRedirectAndDefaultDirectory)
{
    MakeDirectory("App");
    MakeDirectory("Conf");
    WriteProfile(Path("App\\Orvik.ini"), RedirectTo("..\\Conf\\Orvik.ini"));
    WriteProfile(Path("Conf\\Orvik.ini"), RedirectTo(Path("Other.ini")) +
                                              "[361]\nDLL=OrvFact.dll\n[DefaultValue]\nDllPath=Bin\n");
    const std::string profile = ProfilePath(Path("App\\Orvik.ini").c_str());
    EXPECT_EQ(Path("App\\..\\Conf\\Orvik.ini"), profile);
    EXPECT_EQ(Path("App\\..\\Conf\\Bin\\OrvFact.dll"), ModulePath(profile));
}

// Single values

TEST_F(ProfileTest, ReadProfileStringTrimsAndRefusesWhatDoesNotFit)
{
    WriteProfile(Path("Orvik.ini"), "[Sec]\nKey=\"\t abc \t\"\n");
    char out[8] = "old";
    Orvik::ReadProfileString(Path("Orvik.ini").c_str(), "sec", "KEY", "", out, 4);
    EXPECT_STREQ("abc", out);
    Orvik::ReadProfileString(Path("Orvik.ini").c_str(), "Sec", "Key", "", out, 3);
    EXPECT_STREQ("", out);
    Orvik::ReadProfileString(Path("Orvik.ini").c_str(), "Sec", "Other", "  dflt", out, sizeof out);
    EXPECT_STREQ("dflt", out);
}

}  // namespace
