// A catalog reads its configuration file into settings and per-id records.
// Files are written into a scratch directory and read through LoadConfigFile.

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "orvik/bootstrap/root_path.h"
#include "catalog/component_class_info_list.h"
#include "tests/catalog/catalog_test_access.h"
#include "tests/support/code_page_scope.h"
#include "tests/support/debug_capture.h"
#include "tests/support/test_paths.h"

namespace Orvik::Testing {
namespace {

using Catalog = CComponentClassInfoList;

class ConfigFileTest : public ::testing::Test {
protected:
    std::unique_ptr<Catalog> Load(const std::string& content)
    {
        std::ofstream(scratch_.native() / "catalog.ini", std::ios::binary) << content;
        auto catalog = std::make_unique<Catalog>();
        EXPECT_EQ(1u, catalog->LoadConfigFile("reg", scratch_.Framework("catalog.ini").c_str()));
        return catalog;
    }
    std::string Dir() const { return scratch_.Framework(); }

    // One directory per test, so that tests may run side by side.
    ScratchDirectory scratch_{std::string("config_file_") +
                              ::testing::UnitTest::GetInstance()->current_test_info()->name()};
};

// " log=debug/file" when any of them is set or flag says so.
std::string LogMasks(uint32_t debug, uint32_t file, int32_t flag = 0)
{
    return debug != 0 || file != 0 || flag != 0 ? " log=" + std::to_string(debug) + "/" + std::to_string(file) : "";
}

// The default log masks and the records of a catalog in id order: "id",
// then ":dll" when set, " nodefault" when the default directory is off, and
// the log masks when the section set a log key.
std::string Summary(const Catalog& c)
{
    std::string text = "default" + LogMasks(Inspect(c).defaultDebugOutputMask, Inspect(c).defaultLogFileMask);
    for (const auto& [id, r] : Inspect(c).configRecords) {
        const char* const dll = Inspect(c).Dll(r);
        text += "; " + std::to_string(id) + (dll[0] != '\0' ? ":" + std::string(dll) : "");
        if (r.notUseDefaultDllPath != 0) text += " nodefault";
        text += LogMasks(r.debugOutputMask, r.logFileMask, r.hasLogSetting);
    }
    return text;
}

// Text with the zero bytes it holds.
template <size_t N>
std::string Bytes(const char (&text)[N])
{
    return std::string(text, N - 1);
}

// Sections in any order, repeated, and lines whose text a zero byte ends.
const std::pair<std::string, std::string> kOrderAndZeroCases[] = {
    {"[300]\ndll=c.dll\n[100]\ndll=a.dll\n[200]\n[100]\nwritetologfile=E\n[50]\n[300]\ndll=d.dll\n",
     "default; 50; 100 log=0/1; 200; 300:d.dll"},
    {Bytes("[100]\ndll=a.dll\0b.dll\n[200\0]\n[300]\n[7\0]\ndll\0=x.dll\n[8]\nwritetologfile=\0E\n"),
     "default; 8 log=0/0; 100:a.dll; 300"},
    // Marks and zero bytes far into long lines, where lines are sifted sixteen bytes at a time.
    {Bytes("[100]\n                    dll  =  \"far.dll\"\n[200]                 ]\n    x   [300]\n"
           "          y  \0 = z.dll\n[400]\n long text without a mark, then [500]\n[600]\n[700]           xx=1\n") +
         std::string(40, '#'),
     "default; 100:far.dll; 200; 300; 400; 500; 600"},
};

void ExpectDefaults(const Catalog& c)
{
    EXPECT_EQ(6, Inspect(c).maxFileCount);
    EXPECT_EQ(41943040u, Inspect(c).maxFileSize);
    EXPECT_EQ(0u, Inspect(c).defaultDebugOutputMask);
    EXPECT_EQ(0u, Inspect(c).defaultLogFileMask);
    EXPECT_TRUE(Inspect(c).configRecords.empty());
    EXPECT_STREQ("", Inspect(c).defaultDllPath);
    EXPECT_STREQ("", Inspect(c).dllList);
    EXPECT_EQ(0, Inspect(c).hasDllList);
}

TEST_F(ConfigFileTest, MissingOrEmptyFileKeepsDefaultsWithTheFilesDirectory)
{
    Catalog missing;
    const std::string path = Dir() + "\\absent.ini";
    EXPECT_EQ(1u, missing.LoadConfigFile("reg", path.c_str()));
    ExpectDefaults(missing);
    EXPECT_STREQ("reg", Inspect(missing).registryPath);
    EXPECT_EQ(path, Inspect(missing).configFilePath);
    EXPECT_EQ(Dir(), Inspect(missing).dllPath);

    auto empty = Load("");
    ExpectDefaults(*empty);
    EXPECT_EQ(Dir(), Inspect(*empty).dllPath);
}

TEST_F(ConfigFileTest, LineEndsAndBlankLinesDoNotMatter)
{
    for (const std::string end : {"\r\n", "\n", "\r", "\r\n\r\n", "\n \n\n"}) {
        std::string text = end;
        for (const char* line : {"[logdefault]", "outputdebugstring=E", "[100]", "dll=a.dll", "MaxFileCount=4", "[200]",
                                 "writetologfile=W"}) {
            text += line + end;
        }
        auto c = Load(text);
        EXPECT_EQ("default log=1/0; 100:a.dll; 200 log=0/16", Summary(*c)) << "line end of " << end.size() << " bytes";
        EXPECT_EQ(4, Inspect(*c).maxFileCount);
    }
}

TEST_F(ConfigFileTest, RecordsFollowSectionsKeysAndValues)
{
    const std::string bom = "\xEF\xBB\xBF";
    const std::string fits(259, 'a');
    const std::pair<std::string, std::string> cases[] = {
        // '#' marks no comment.
        {"[100]\n  # [120]\ndll=x.dll\n####\n  #\t\n# comment\n# a=b\n#dll=y.dll\n", "default; 100; 120:x.dll"},
        // Keys ignore case and blanks; values lose blanks and quotes at their ends.
        {"[120]\nDLL = \"My Module.dll\" \n[121]\ndll=a=b\n[122]\ndll=keep.dll\n=dll=x.dll\n = y.dll\n"
         "[123]\n \t dLl\t=\t\"\" \"in\"ner\"\"\t \n[124]\nunknown=1\njust text\n",
         "default; 120:My Module.dll; 121:a=b; 122:keep.dll; 123:in\"ner; 124"},
        // A byte order mark spoils only a key on the first line.
        {bom + "dll=a.dll\n[100]\n", "default; 100"},
        {bom + "[100]\ndll=a.dll\n", "default; 100:a.dll"},
        // A header names the number its bracketed text starts with; zero, no number or no closing bracket name none.
        {"[logdefault]\n[Redirect]\nwritetologfile=T\n[100]\n[abc]\n[0]\n[]\n[130\n]x[7\ndll=a.dll\n[120abc]\n"
         "dll=b.dll\n[ 120 ]\nnotusedefaultdllpath=1\n[-1]\ndll=c.dll\ndll=[5]\n",
         "default log=0/2; 100:a.dll; 120:b.dll nodefault; 4294967295:[5]"},
        // Record keys go to the latest component section, even from another kind.
        {"[100]\ndll=a.dll\n[logdefault]\ndll=b.dll\n[defaultvalue]\nnotusedefaultdllpath=1\n[200]\n",
         "default; 100:b.dll nodefault; 200"},
        {"dll=a.dll\noutputdebugstring=E\n[100]\n", "default; 100:a.dll"},
        {"[100]\ndll=a.dll\n[200]\ndll=b.dll\n[100]\nwritetologfile=E\n", "default; 100 log=0/1; 200:b.dll"},
        // Only a leading '1' switches the default directory off; the last value counts.
        {"[1]\nnotusedefaultdllpath=1\n[2]\nnotusedefaultdllpath=10\n[3]\nnotusedefaultdllpath=true\n"
         "[4]\nnotusedefaultdllpath=1\nnotusedefaultdllpath=0\n",
         "default; 1 nodefault; 2 nodefault; 3; 4"},
        // An overlong value is refused whole.
        {"[1]\ndll=\" " + fits + " \"\n[2]\ndll=keep\ndll=" + fits + "b\n[3]\ndll=" + std::string(5000, 'c') + "\n",
         "default; 1:" + fits + "; 2:keep; 3"},
    };
    for (const auto& [file, summary] : cases) EXPECT_EQ(summary, Summary(*Load(file))) << file;
    for (const auto& [file, summary] : kOrderAndZeroCases) EXPECT_EQ(summary, Summary(*Load(file))) << file;
}

TEST_F(ConfigFileTest, LogLettersMakeTheWholeMask)
{
    const std::pair<const char*, uint32_t> cases[] = {
        {"WE", 0x11}, {"none", 0x01}, {"0", 0}, {"off", 0}, {"etvdwc", 0x3F}, {"E, T or x", 0x03}};
    for (const auto& [value, mask] : cases) {
        auto c = Load(std::string("xx[LOGDEFAULT]yy\noutputdebugstring=") + value + "\n[7]\nwritetologfile=" + value);
        EXPECT_EQ(mask, Inspect(*c).defaultDebugOutputMask) << value;
        EXPECT_EQ(mask, Inspect(*c).configRecords.at(7).logFileMask) << value;
        EXPECT_EQ(0u, Inspect(*c).configRecords.at(7).debugOutputMask) << value;
    }
    auto replaced = Load("[LogDefault]\nwritetologfile=EW\nwritetologfile=T\n[7]\noutputdebugstring=EW\n"
                         "outputdebugstring=T\n");
    EXPECT_EQ(0x02u, Inspect(*replaced).defaultLogFileMask);
    EXPECT_EQ(0x02u, Inspect(*replaced).configRecords.at(7).debugOutputMask);
    EXPECT_EQ(0u, Inspect(*Load("outputdebugstring=E\n[defaultvalue]\noutputdebugstring=E\n")).defaultDebugOutputMask);
}

TEST_F(ConfigFileTest, LogFileLimitsAreNumbers)
{
    EXPECT_EQ(10u << 20, Inspect(*Load("MaxFileSize=10")).maxFileSize);
    EXPECT_EQ(0u, Inspect(*Load("maxfilesize=abc")).maxFileSize);
    EXPECT_EQ(0u, Inspect(*Load("MaxFileSize=4096")).maxFileSize);
    EXPECT_EQ(1u << 20, Inspect(*Load("MaxFileSize=4097")).maxFileSize);
    EXPECT_EQ(3, Inspect(*Load("MaxFileCount=3x")).maxFileCount);
    EXPECT_EQ(-2, Inspect(*Load("MAXFILECOUNT = -2")).maxFileCount);
}

TEST_F(ConfigFileTest, ModulePathsResolveAgainstTheFileOrDllPath)
{
    EXPECT_EQ(Dir() + "\\mods", std::string(Inspect(*Load("dllpath=mods")).dllPath));
    EXPECT_EQ(Dir() + "\\..\\mods", std::string(Inspect(*Load("dllpath=..\\mods")).dllPath));
    EXPECT_STREQ("C:\\mods", Inspect(*Load("dllpath=C:\\mods")).dllPath);
    EXPECT_STREQ("\\srv\\mods", Inspect(*Load("dllpath=\\srv\\mods")).dllPath);

    EXPECT_EQ(Dir() + "\\x.dll", std::string(Inspect(*Load("defaultdll=x.dll\ndllpath=C:\\mods\n")).defaultDllPath));
    EXPECT_STREQ("C:\\mods\\x.dll", Inspect(*Load("dllpath=C:\\mods\ndefaultdll=x.dll\n")).defaultDllPath);
    EXPECT_STREQ("C:\\mods\\x.dll", Inspect(*Load("dllpath=C:\\mods\\\ndefaultdll=x.dll\n")).defaultDllPath);
    EXPECT_STREQ("D:\\x.dll", Inspect(*Load("dllpath=C:\\mods\ndefaultdll=D:\\x.dll\n")).defaultDllPath);
}

TEST_F(ConfigFileTest, ScanListAndItsFlag)
{
    auto cleared = Load("dlls=a.dll,b.dll\ndlls=\n");
    EXPECT_STREQ("", Inspect(*cleared).dllList);
    EXPECT_EQ(1, Inspect(*cleared).hasDllList);
    EXPECT_STREQ("c.dll, d.dll", Inspect(*Load("dlls=a.dll\ndlls= \"c.dll, d.dll\" \n")).dllList);
    EXPECT_EQ(0, Inspect(*Load("dlls=\n")).hasDllList);
}

TEST_F(ConfigFileTest, SettingsThatDoNotFitAreRefusedOrKeepTheirDocumentedRemainder)
{
    const std::string fits(259, 'a');
    auto c = Load("dlls=" + fits.substr(1) + "\ndllpath=C:\\" + std::string(256, 'p') + "\ndefaultdll=C:\\" + fits +
                  "\n");
    EXPECT_EQ(fits.substr(1), Inspect(*c).dllList);
    EXPECT_EQ(259u, std::strlen(Inspect(*c).dllPath));
    EXPECT_STREQ("", Inspect(*c).defaultDllPath);
    EXPECT_STREQ("x.dll", Inspect(*Load("dlls=x.dll\ndlls=" + fits + "\n")).dllList);

    const std::string name(250, 'n');
    EXPECT_EQ(Dir() + "\\", std::string(Inspect(*Load("dllpath=" + name)).dllPath));
    EXPECT_EQ((Dir() + "\\" + name).substr(0, 259), Inspect(*Load("defaultdll=" + name)).defaultDllPath);
}

TEST_F(ConfigFileTest, DoubleByteCharactersHideTheirTrailBytes)
{
    CodePageScope japanese(932);
    ASSERT_TRUE(japanese.ok());
    // 0x81 0x5B and 0x83 0x45 are single characters whose trail bytes read '[' and 'E'.
    EXPECT_EQ("default log=2/0; 100:x.dll",
              Summary(*Load("[100]\n\x81[5]\ndll=x.dll\n[logdefault]\noutputdebugstring=\x83\x45T\n")));
    // Otherwise the rules are those of single-byte text.
    for (const auto& [file, summary] : kOrderAndZeroCases) EXPECT_EQ(summary, Summary(*Load(file))) << file;
}

TEST_F(ConfigFileTest, RedirectLookupReadsTheFileTheParseThenUses)
{
    std::ofstream(scratch_.native() / "first.ini", std::ios::binary) << "[Redirect]\nPath=other.ini\n[100]\ndll=a.dll\n";
    std::ofstream(scratch_.native() / "second.ini", std::ios::binary) << "[200]\ndll=b.dll\n";
    const std::string first = scratch_.Framework("first.ini"), second = scratch_.Framework("second.ini");
    char value[Platform::kMaxPath] = "x";

    Catalog c;
    c.ReadRedirectPath(first.c_str(), value, sizeof value);
    EXPECT_STREQ("other.ini", value);
    // The file was read once, for both.
    std::filesystem::remove(scratch_.native() / "first.ini");
    EXPECT_EQ(1u, c.LoadConfigFile("reg", first.c_str()));
    EXPECT_EQ("default; 100:a.dll", Summary(c));

    // A file the lookup did not read is read by the parse.
    Catalog d;
    d.ReadRedirectPath(first.c_str(), value, sizeof value);
    EXPECT_STREQ("", value) << "the file is gone";
    d.LoadConfigFile("reg", second.c_str());
    EXPECT_EQ("default; 200:b.dll", Summary(d));
}

TEST_F(ConfigFileTest, PreloadRunsAtItsLineWithTheDllPathOfThatLine)
{
    DebugCapture capture;
    Load("preload=orvik_absent_a.dll\ndllpath=C:\\orvik_absent\npreload=orvik_absent_b.dll\n");
    const std::string output = capture.All();
    const size_t first = output.find("PreLoadDependDllList(" + Dir() + "\\orvik_absent_a.dll)");
    const size_t second = output.find("PreLoadDependDllList(C:\\orvik_absent\\orvik_absent_b.dll)");
    EXPECT_NE(std::string::npos, first) << output;
    EXPECT_NE(std::string::npos, second) << output;
    EXPECT_LT(first, second);
}

TEST(ConfigRelativeFile, DirectoryIsTakenBelowTheRootPath)
{
    DebugCapture capture;
    Catalog c;
    EXPECT_EQ(1u, c.LoadConfigFile("", "orvik_absent_dir\\catalog.ini"));
    EXPECT_EQ(std::string(GetRootPath()) + "\\orvik_absent_dir", Inspect(c).dllPath);
    EXPECT_STREQ("orvik_absent_dir\\catalog.ini", Inspect(c).configFilePath);
    ExpectDefaults(c);
}

}  // namespace
}  // namespace Orvik::Testing
