// A catalog reads its configuration file into settings and per-id records.
// Files are written into a scratch directory and read through LoadConfigFile.

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "bootstrap/root_path.h"
#include "catalog/component_class_info_list.h"
#include "platform/debug_output.h"
#include "platform/multibyte.h"
#include "tests/support/code_page_scope.h"
#include "tests/support/debug_capture.h"
#include "tests/support/test_paths.h"

namespace Orvik {
namespace {

using Catalog = CComponentClassInfoList;

using Testing::DebugCapture;

class ConfigFileTest : public ::testing::Test {
protected:
    std::string Write(const std::string& content, const std::string& name = "catalog.ini")
    {
        std::ofstream(scratch_.native() / name, std::ios::binary) << content;
        return scratch_.Framework(name);
    }
    std::unique_ptr<Catalog> Load(const std::string& content)
    {
        auto catalog = std::make_unique<Catalog>();
        EXPECT_EQ(1u, catalog->LoadConfigFile("reg", Write(content).c_str()));
        return catalog;
    }
    std::string Dir() const { return scratch_.Framework(); }

    // One directory per test, so that tests may run side by side.
    Testing::ScratchDirectory scratch_{std::string("config_file_") +
                                       ::testing::UnitTest::GetInstance()->current_test_info()->name()};
};

// Everything the file can set, in one text, so that two catalogs compare.
std::string Settings(const Catalog& c)
{
    std::string text = std::string(c.dllPath) + "|" + c.defaultDllPath + "|" + c.dllList + "|" +
                       std::to_string(c.hasDllList) + "|" + std::to_string(c.defaultDebugOutputMask) + "|" +
                       std::to_string(c.defaultLogFileMask) + "|" + std::to_string(c.maxFileCount) + "|" +
                       std::to_string(c.maxFileSize);
    for (const auto& [id, r] : c.configRecords) {
        text += "|" + std::to_string(id) + ":" + r.dll + ":" + std::to_string(r.notUseDefaultDllPath) + ":" +
                std::to_string(r.hasLogSetting) + ":" + std::to_string(r.debugOutputMask) + ":" +
                std::to_string(r.logFileMask);
    }
    return text;
}

void ExpectDefaults(const Catalog& c)
{
    EXPECT_EQ(6, c.maxFileCount);
    EXPECT_EQ(41943040u, c.maxFileSize);
    EXPECT_EQ(0u, c.defaultDebugOutputMask);
    EXPECT_EQ(0u, c.defaultLogFileMask);
    EXPECT_TRUE(c.configRecords.empty());
    EXPECT_STREQ("", c.defaultDllPath);
    EXPECT_STREQ("", c.dllList);
    EXPECT_EQ(0, c.hasDllList);
}

TEST(ConfigConstruction, StartsWithTheDocumentedDefaults)
{
    Catalog c;
    ExpectDefaults(c);
    EXPECT_STREQ("", c.dllPath);
    EXPECT_STREQ("", c.configFilePath);
    EXPECT_EQ(0u, c.textSize);
    EXPECT_EQ(nullptr, c.text.get());
    EXPECT_EQ(0, c.dllListScanned);
    EXPECT_EQ(nullptr, c.defaultDllModule);
    EXPECT_EQ(std::vector<char>(sizeof c.failedDlls, 0),
              std::vector<char>(c.failedDlls, c.failedDlls + sizeof c.failedDlls));
}

TEST_F(ConfigFileTest, MissingOrEmptyFileKeepsDefaultsWithTheFilesDirectory)
{
    Catalog missing;
    const std::string path = Dir() + "\\absent.ini";
    EXPECT_EQ(1u, missing.LoadConfigFile("reg", path.c_str()));
    ExpectDefaults(missing);
    EXPECT_STREQ("reg", missing.registryPath);
    EXPECT_EQ(path, missing.configFilePath);
    EXPECT_EQ(Dir(), missing.dllPath);

    auto empty = Load("");
    ExpectDefaults(*empty);
    EXPECT_EQ(Dir(), empty->dllPath);
}

TEST_F(ConfigFileTest, LineEndsAndBlankLinesDoNotMatter)
{
    const std::vector<std::string> lines = {"[logdefault]", "outputdebugstring=E", "[100]", "dll=a.dll",
                                            "MaxFileCount=4", "[200]", "writetologfile=W"};
    std::string reference;
    for (const std::string end : {"\r\n", "\n", "\r", "\r\n\r\n", "\n \n\n"}) {
        std::string text;
        for (const std::string& line : lines) text += line + end;
        const std::string settings = Settings(*Load(text));
        if (reference.empty()) reference = settings;
        EXPECT_EQ(reference, settings) << "line end of " << end.size() << " bytes";
    }
    EXPECT_NE(std::string::npos, reference.find("|100:a.dll:0:0:0:0|200::0:1:0:16"));
    EXPECT_EQ(Settings(*Load("\n\n" + lines[2] + "\n" + lines[3])), Settings(*Load(lines[2] + "\n" + lines[3])));
}

TEST_F(ConfigFileTest, HashIsNoCommentMarker)
{
    auto c = Load("[100]\n  # [120]\ndll=x.dll\n####\n  #\t\n# comment\n# a=b\n#dll=y.dll\n");
    ASSERT_EQ(2u, c->configRecords.size());
    EXPECT_STREQ("", c->configRecords.at(100).dll);
    EXPECT_STREQ("x.dll", c->configRecords.at(120).dll);
}

TEST_F(ConfigFileTest, ValuesLoseBlanksAndQuotesAtTheirEnds)
{
    auto c = Load("[120]\nDLL = \"My Module.dll\" \n[121]\ndll=a=b\n[122]\ndll=keep.dll\n=dll=x.dll\n"
                  " = y.dll\n[123]\n \t dLl\t=\t\"\" \"in\"ner\"\"\t \n[124]\nunknown=1\njust text\n");
    EXPECT_STREQ("My Module.dll", c->configRecords.at(120).dll);
    EXPECT_STREQ("a=b", c->configRecords.at(121).dll);
    EXPECT_STREQ("keep.dll", c->configRecords.at(122).dll);
    EXPECT_STREQ("in\"ner", c->configRecords.at(123).dll);
    EXPECT_STREQ("", c->configRecords.at(124).dll);
}

TEST_F(ConfigFileTest, ByteOrderMarkSpoilsOnlyAKeyOnTheFirstLine)
{
    const std::string bom = "\xEF\xBB\xBF";
    EXPECT_STREQ("", Load(bom + "dll=a.dll\n[100]\n")->configRecords.at(100).dll);
    EXPECT_STREQ("a.dll", Load(bom + "[100]\ndll=a.dll\n")->configRecords.at(100).dll);
}

TEST_F(ConfigFileTest, SectionHeadersSelectTheirKind)
{
    for (const char* header : {"[LogDefault]", "xx[LOGDEFAULT]yy"}) {
        EXPECT_EQ(0x11u, Load(std::string(header) + "\noutputdebugstring=WE\n")->defaultDebugOutputMask) << header;
    }
    auto c = Load("[logdefault]\n[Redirect]\nwritetologfile=T\n[100]\n[abc]\n[0]\n[]\n[130\n]x[7\ndll=a.dll\n"
                  "[120abc]\ndll=b.dll\n[ 120 ]\nnotusedefaultdllpath=1\n[-1]\ndll=c.dll\ndll=[5]\n");
    EXPECT_EQ(0x02u, c->defaultLogFileMask);
    ASSERT_EQ(3u, c->configRecords.size());
    EXPECT_STREQ("a.dll", c->configRecords.at(100).dll);
    EXPECT_STREQ("b.dll", c->configRecords.at(120).dll);
    EXPECT_EQ(1, c->configRecords.at(120).notUseDefaultDllPath);
    EXPECT_STREQ("[5]", c->configRecords.at(0xFFFFFFFFu).dll);
}

TEST_F(ConfigFileTest, RecordKeysGoToTheLatestComponentSection)
{
    auto carried = Load("[100]\ndll=a.dll\n[logdefault]\ndll=b.dll\n[defaultvalue]\nnotusedefaultdllpath=1\n[200]\n");
    EXPECT_STREQ("b.dll", carried->configRecords.at(100).dll);
    EXPECT_EQ(1, carried->configRecords.at(100).notUseDefaultDllPath);
    EXPECT_STREQ("", carried->configRecords.at(200).dll);

    auto early = Load("dll=a.dll\noutputdebugstring=E\n[100]\n");
    EXPECT_STREQ("a.dll", early->configRecords.at(100).dll);
    EXPECT_EQ(0, early->configRecords.at(100).hasLogSetting);

    auto repeated = Load("[100]\ndll=a.dll\n[200]\ndll=b.dll\n[100]\nwritetologfile=E\n");
    EXPECT_STREQ("", repeated->configRecords.at(100).dll);
    EXPECT_EQ(0x01u, repeated->configRecords.at(100).logFileMask);
    EXPECT_EQ(1, repeated->configRecords.at(100).hasLogSetting);
    EXPECT_STREQ("b.dll", repeated->configRecords.at(200).dll);
}

TEST_F(ConfigFileTest, LogLettersMakeTheWholeMask)
{
    const std::pair<const char*, uint32_t> cases[] = {
        {"WE", 0x11}, {"none", 0x01}, {"0", 0}, {"off", 0}, {"etvdwc", 0x3F}, {"E, T or x", 0x03}};
    for (const auto& [value, mask] : cases) {
        auto c = Load(std::string("[logdefault]\noutputdebugstring=") + value + "\n[7]\nwritetologfile=" + value);
        EXPECT_EQ(mask, c->defaultDebugOutputMask) << value;
        EXPECT_EQ(mask, c->configRecords.at(7).logFileMask) << value;
        EXPECT_EQ(0u, c->configRecords.at(7).debugOutputMask) << value;
    }
    auto replaced = Load("[logdefault]\nwritetologfile=EW\nwritetologfile=T\n[7]\noutputdebugstring=EW\n"
                         "outputdebugstring=T\n");
    EXPECT_EQ(0x02u, replaced->defaultLogFileMask);
    EXPECT_EQ(0x02u, replaced->configRecords.at(7).debugOutputMask);
    EXPECT_EQ(0u, Load("outputdebugstring=E\n[defaultvalue]\noutputdebugstring=E\n")->defaultDebugOutputMask);
}

TEST_F(ConfigFileTest, LogFileLimitsAreNumbers)
{
    EXPECT_EQ(10u << 20, Load("MaxFileSize=10")->maxFileSize);
    EXPECT_EQ(0u, Load("maxfilesize=abc")->maxFileSize);
    EXPECT_EQ(0u, Load("MaxFileSize=4096")->maxFileSize);
    EXPECT_EQ(1u << 20, Load("MaxFileSize=4097")->maxFileSize);
    EXPECT_EQ(3, Load("MaxFileCount=3x")->maxFileCount);
    EXPECT_EQ(-2, Load("MAXFILECOUNT = -2")->maxFileCount);
}

TEST_F(ConfigFileTest, ModulePathsResolveAgainstTheFileOrDllPath)
{
    EXPECT_EQ(Dir() + "\\mods", std::string(Load("dllpath=mods")->dllPath));
    EXPECT_EQ(Dir() + "\\..\\mods", std::string(Load("dllpath=..\\mods")->dllPath));
    EXPECT_STREQ("C:\\mods", Load("dllpath=C:\\mods")->dllPath);
    EXPECT_STREQ("\\srv\\mods", Load("dllpath=\\srv\\mods")->dllPath);

    auto before = Load("defaultdll=x.dll\ndllpath=C:\\mods\n");
    EXPECT_EQ(Dir() + "\\x.dll", std::string(before->defaultDllPath));
    EXPECT_STREQ("C:\\mods\\x.dll", Load("dllpath=C:\\mods\ndefaultdll=x.dll\n")->defaultDllPath);
    EXPECT_STREQ("C:\\mods\\x.dll", Load("dllpath=C:\\mods\\\ndefaultdll=x.dll\n")->defaultDllPath);
    EXPECT_STREQ("D:\\x.dll", Load("dllpath=C:\\mods\ndefaultdll=D:\\x.dll\n")->defaultDllPath);
}

TEST_F(ConfigFileTest, ScanListAndItsFlag)
{
    auto cleared = Load("dlls=a.dll,b.dll\ndlls=\n");
    EXPECT_STREQ("", cleared->dllList);
    EXPECT_EQ(1, cleared->hasDllList);
    auto replaced = Load("dlls=a.dll\ndlls= \"c.dll, d.dll\" \n");
    EXPECT_STREQ("c.dll, d.dll", replaced->dllList);
    EXPECT_EQ(0, Load("dlls=\n")->hasDllList);
}

TEST_F(ConfigFileTest, NotUseDefaultDllPathLooksAtTheFirstCharacter)
{
    auto c = Load("[1]\nnotusedefaultdllpath=1\n[2]\nnotusedefaultdllpath=10\n[3]\nnotusedefaultdllpath=true\n"
                  "[4]\nnotusedefaultdllpath=1\nnotusedefaultdllpath=0\n");
    EXPECT_EQ(1, c->configRecords.at(1).notUseDefaultDllPath);
    EXPECT_EQ(1, c->configRecords.at(2).notUseDefaultDllPath);
    EXPECT_EQ(0, c->configRecords.at(3).notUseDefaultDllPath);
    EXPECT_EQ(0, c->configRecords.at(4).notUseDefaultDllPath);
}

TEST_F(ConfigFileTest, OverlongValuesAreRefusedWhole)
{
    const std::string fits(259, 'a');
    const std::string over(260, 'b');
    auto c = Load("[1]\ndll=\" " + fits + " \"\n[2]\ndll=keep\ndll=" + over + "\ndlls=" + fits.substr(1) +
                  "\n[3]\ndll=" + std::string(5000, 'c') + "\ndllpath=C:\\" + std::string(256, 'p') +
                  "\ndefaultdll=C:\\" + over + "\n");
    EXPECT_EQ(fits, c->configRecords.at(1).dll);
    EXPECT_STREQ("keep", c->configRecords.at(2).dll);
    EXPECT_STREQ("", c->configRecords.at(3).dll);
    EXPECT_EQ(fits.substr(1), c->dllList);
    EXPECT_EQ(259u, std::strlen(c->dllPath));
    EXPECT_STREQ("", c->defaultDllPath);

    auto list = Load("dlls=x.dll\ndlls=" + fits + "\n");
    EXPECT_STREQ("x.dll", list->dllList);
}

TEST_F(ConfigFileTest, PathsThatDoNotFitKeepTheirDocumentedRemainder)
{
    const std::string name(250, 'n');
    EXPECT_EQ(Dir() + "\\", std::string(Load("dllpath=" + name)->dllPath));
    auto cut = Load("defaultdll=" + name);
    EXPECT_EQ((Dir() + "\\" + name).substr(0, 259), cut->defaultDllPath);
}

TEST_F(ConfigFileTest, DoubleByteCharactersHideTheirTrailBytes)
{
    Testing::CodePageScope japanese(932);
    ASSERT_TRUE(japanese.ok());
    // 0x81 0x5B and 0x83 0x45 are single characters whose trail bytes read '[' and 'E'.
    auto c = Load("[100]\n\x81[5]\ndll=x.dll\n[logdefault]\noutputdebugstring=\x83\x45T\n");
    ASSERT_EQ(1u, c->configRecords.size());
    EXPECT_STREQ("x.dll", c->configRecords.at(100).dll);
    EXPECT_EQ(0x02u, c->defaultDebugOutputMask);
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
    EXPECT_EQ(std::string(GetRootPath()) + "\\orvik_absent_dir", c.dllPath);
    EXPECT_STREQ("orvik_absent_dir\\catalog.ini", c.configFilePath);
    ExpectDefaults(c);
}

}  // namespace
}  // namespace Orvik
