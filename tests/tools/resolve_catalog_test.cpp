// orvik resolve: the redirect chain and the factory module's path with its
// rule; orvik catalog: the catalog the factory reads from a file, with the
// lines its parser ignored.

#include <filesystem>
#include <utility>

#include "tests/tools/tool_fixture.h"

namespace Orvik::Testing {
namespace {

using Resolve = ToolTest;

TEST_F(Resolve, ShowsEveryStepOfTheChainAndTheRuleOfTheModulePath)
{
    std::filesystem::create_directories(scratch_.native() / "conf");
    const std::string start = Write("start.ini", "[Redirect]\nPath=" + Framework("mid.ini") + "\n");
    Write("mid.ini", "[Redirect]\nPath=conf\\final.ini\n");
    // A relative redirect ends the chain: this one's own redirect is not read.
    Write("conf/final.ini", "[Redirect]\nPath=unread.ini\n[361]\nDLL=OrvFact.dll\n[DefaultValue]\nDllPath=bin\n");

    // The module it names is not there: a module would not find the factory.
    const CommandResult result = RunCommand({"resolve", start, "--json"});
    EXPECT_EQ(result.status, 1);
    const JsonValue& json = result.json;
    EXPECT_EQ(Texts(json["problems"], "reason"), std::vector<std::string>{"factory-module-missing"});
    EXPECT_EQ(json["start"].text, Framework("start.ini"));
    ASSERT_EQ(json["chain"].items.size(), 2u) << result.out;
    EXPECT_EQ(json["chain"][0]["profile"].text, Framework("start.ini"));
    EXPECT_EQ(json["chain"][0]["step"].text, "absolute");
    EXPECT_EQ(json["chain"][1]["profile"].text, Framework("mid.ini"));
    EXPECT_EQ(json["chain"][1]["redirect"].text, "conf\\final.ini");
    EXPECT_EQ(json["chain"][1]["step"].text, "relative");
    EXPECT_EQ(json["final"].text, Framework("conf\\final.ini"));
    EXPECT_TRUE(json["finalExists"].boolean);
    const JsonValue& factory = json["factoryModule"];
    EXPECT_EQ(factory["path"].text, Framework("conf\\bin\\OrvFact.dll"));
    EXPECT_EQ(factory["rule"].text, "dllpath-relative");
    EXPECT_FALSE(factory["exists"].boolean);

    const CommandResult text = RunCommand({"resolve", start});
    EXPECT_NE(text.out.find("final: " + Framework("conf\\final.ini") + " (exists)"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("DllPath is relative"), std::string::npos) << text.out;
}

TEST_F(Resolve, StopsAChainThatComesBack)
{
    const std::string a = Write("a.ini", "[Redirect]\nPath=" + Framework("b.ini") + "\n");
    Write("b.ini", "[Redirect]\nPath=" + Framework("a.ini") + "\n");
    const JsonValue json = RunCommand({"resolve", a, "--json"}).json;
    EXPECT_EQ(Texts(json["chain"], "step"), (std::vector<std::string>{"absolute", "loop"}));
    EXPECT_EQ(json["final"].text, Framework("b.ini"));
}

TEST_F(Resolve, NamesEachCaseOfTheModulePathRule)
{
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"[361]\nDLL=" + Module("OrvFact.dll") + "\n", "dll-absolute"},
        {"[361]\nDLL=OrvFact.dll\nNotUseDefaultDllPath=1\n[DefaultValue]\nDllPath=bin\n", "beside-profile"},
        {"[361]\nDLL=OrvFact.dll\n", "no-dllpath"},
        {"[361]\nDLL=OrvFact.dll\n[DefaultValue]\nDllPath=" + ProgramDirectory() + "\n", "dllpath-absolute"},
        {"[361]\nDLL=OrvFact.dll\n[DefaultValue]\nDllPath=bin\n", "dllpath-relative"},
    };
    for (const auto& entry : cases) {
        const JsonValue json = RunCommand({"resolve", Write("Orvik.ini", entry.first), "--json"}).json;
        EXPECT_EQ(json["factoryModule"]["rule"].text, entry.second) << entry.first;
    }
    // The first and the fourth name the real factory module.
    const JsonValue json = RunCommand({"resolve", Write("Orvik.ini", cases[3].first), "--json"}).json;
    EXPECT_EQ(json["factoryModule"]["path"].text, Module("OrvFact.dll"));
    EXPECT_TRUE(json["factoryModule"]["exists"].boolean);
}

TEST_F(Resolve, ReadsTheProfileBesideTheProgram)
{
    std::filesystem::create_directories(scratch_.native() / "bin");
    const std::string program = Write("bin/app", "a program\n");
    Write("bin/Orvik.ini", "[361]\nDLL=" + Module("OrvFact.dll") + "\n");
    // Where the command runs has its own file, which the program never reads.
    Write("Orvik.ini", "[361]\nDLL=elsewhere.dll\n");

    const CommandResult result = RunCommand({"resolve", "--program", program, "--json"});
    EXPECT_EQ(result.status, 0) << result.out;
    EXPECT_EQ(result.json["program"].text, Framework("bin\\app"));
    EXPECT_EQ(result.json["start"].text, Framework("bin\\Orvik.ini"));
    EXPECT_EQ(result.json["factoryModule"]["path"].text, Module("OrvFact.dll"));
    EXPECT_TRUE(result.json["ok"].boolean);
    const CommandResult text = RunCommand({"resolve", "--program", program});
    EXPECT_EQ(text.out.rfind("program: " + Framework("bin\\app"), 0), 0u) << text.out;
}

TEST_F(Resolve, WithoutAProfileThereIsNoFactoryModule)
{
    // No Orvik.ini beside the program: [361] DLL reads empty and the rule
    // names the program's directory, which is no module.
    const std::string program = Write("app", "a program\n");
    const CommandResult result = RunCommand({"resolve", "--program", program, "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_FALSE(result.json["finalExists"].boolean);
    EXPECT_FALSE(result.json["factoryModule"]["exists"].boolean);
    EXPECT_EQ(Texts(result.json["problems"], "reason"), std::vector<std::string>{"profile-missing"});
    const CommandResult text = RunCommand({"resolve", "--program", program});
    EXPECT_NE(text.out.find("PROBLEM no such file: " + Framework("Orvik.ini")), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("(missing)"), std::string::npos) << text.out;
    EXPECT_EQ(text.out.find("(exists)"), std::string::npos) << text.out;

    // A profile whose [361] DLL is blank or names a directory fails alike.
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"[361]\nDLL=\n", "no-factory-dll"},
        {"[361]\nDLL=" + scratch_.Framework() + "\n", "factory-module-missing"},
    };
    for (const auto& entry : cases) {
        const JsonValue json = RunCommand({"resolve", Write("Orvik.ini", entry.first), "--json"}).json;
        EXPECT_FALSE(json["factoryModule"]["exists"].boolean) << entry.first;
        EXPECT_EQ(Texts(json["problems"], "reason"), std::vector<std::string>{entry.second}) << entry.first;
    }
}

using Catalog = ToolTest;

TEST_F(Catalog, ShowsSettingsRecordsAndEveryIgnoredLineWithItsNumber)
{
    const std::string longValue(300, 'x');
    const std::string config = Write("catalog.ini",
                                     "; a comment\r\n"                       // 1
                                     "[Redirect]\r\n"                        // 2
                                     "\r\n"                                  // 3
                                     "[DefaultValue]\r\n"                    // 4
                                     "dllpath=mods\r\n"                      // 5
                                     "defaultdll=tool_alpha.dll\r\n"         // 6
                                     "dlls=tool_alpha.dll, tool_beta.dll\r\n"  // 7
                                     "outputdebugstring=E\r\n"               // 8
                                     "preload=tool_gone.dll\r\n"             // 9
                                     "[logdefault]\r\n"                      // 10
                                     "writetologfile=ew\r\n"                 // 11
                                     "MaxFileSize=2\r\n"                     // 12
                                     "[7101]\r\n"                            // 13
                                     "dll=tool_alpha.dll\r\n"                // 14
                                     "outputdebugstring=T\r\n"               // 15
                                     "[7103]\r\n"                            // 16
                                     "dll=x.dll\r\n"                         // 17
                                     "notusedefaultdllpath=1\r\n"            // 18
                                     "=novalue\r\n"                          // 19
                                     "dlll=typo.dll\r\n"                     // 20
                                     "[abc]\r\n"                             // 21
                                     "dll=" + longValue + "\r\n");           // 22

    const CommandResult result = RunCommand({"catalog", config, "--json"});
    EXPECT_EQ(result.status, 0);
    const JsonValue& json = result.json;
    EXPECT_TRUE(json["fileRead"].boolean);
    EXPECT_EQ(json["dllPath"].text, Framework("mods"));
    EXPECT_EQ(json["defaultDll"].text, Framework("mods\\tool_alpha.dll"));
    EXPECT_TRUE(json["hasDllList"].boolean);
    EXPECT_EQ(json["dllList"].text, "tool_alpha.dll, tool_beta.dll");

    ASSERT_EQ(json["sections"].items.size(), 2u) << result.out;
    const JsonValue& alpha = json["sections"][0];
    EXPECT_EQ(alpha["id"].number, 7101);
    EXPECT_EQ(alpha["modulePath"].text, Framework("mods\\tool_alpha.dll"));
    EXPECT_TRUE(alpha["hasLogSetting"].boolean);
    EXPECT_EQ(alpha["outputdebugstring"].text, "T");
    const JsonValue& beside = json["sections"][1];
    EXPECT_EQ(beside["id"].number, 7103);
    EXPECT_TRUE(beside["notUseDefaultDllPath"].boolean);
    EXPECT_EQ(beside["modulePath"].text, Framework("x.dll"));

    EXPECT_EQ(json["logDefault"]["outputdebugstring"].text, "");
    EXPECT_EQ(json["logDefault"]["writetologfile"].text, "EW");
    EXPECT_EQ(json["logDefault"]["maxFileSize"].number, 2 << 20);
    EXPECT_EQ(json["logDefault"]["maxFileCount"].number, 6);

    ASSERT_EQ(json["preloads"].items.size(), 1u);
    EXPECT_EQ(json["preloads"][0]["line"].number, 9);
    EXPECT_EQ(json["preloads"][0]["path"].text, Framework("mods\\tool_gone.dll"));
    EXPECT_EQ(json["preloads"][0]["outcome"].text, "failed");
    EXPECT_EQ(json["preloads"][0]["failure"]["path"].text, Framework("mods\\tool_gone.dll"));
    EXPECT_EQ(json["debugLines"][0].text, "[Orvik_Error] PreLoadDependDllList(" + Framework("mods\\tool_gone.dll") +
                                              ") Fail. ErrorCode(126)\n");

    std::vector<std::string> ignored;
    for (const JsonValue& line : json["ignoredLines"].items) {
        ignored.push_back(std::to_string(static_cast<int>(line["line"].number)) + " " + line["reason"].text);
    }
    EXPECT_EQ(ignored, (std::vector<std::string>{"1 no-key-or-section", "2 unknown-section",
                                                 "8 log-key-outside-section", "19 empty-key", "20 unknown-key",
                                                 "21 unknown-section", "22 value-too-long"}));
    EXPECT_EQ(json["ignoredLines"][4]["text"].text, "dlll=typo.dll");
}

TEST_F(Catalog, AMissingFileIsAnEmptyCatalog)
{
    const CommandResult result = RunCommand({"catalog", Native("absent.ini"), "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_FALSE(result.json["fileRead"].boolean);
    EXPECT_EQ(result.json["dllPath"].text, scratch_.Framework());
    EXPECT_TRUE(result.json["sections"].items.empty());
    EXPECT_NE(RunCommand({"catalog", Native("absent.ini")}).out.find("(missing: the catalog is empty)"),
              std::string::npos);
}

TEST_F(Catalog, ReadsTheFileTheRedirectNames)
{
    const std::string start = Write("start.ini", "[Redirect]\nPath=real.ini\n");
    Write("real.ini", "[5]\ndll=five.dll\n");
    const JsonValue json = RunCommand({"catalog", start, "--json"}).json;
    EXPECT_EQ(json["start"].text, Framework("start.ini"));
    EXPECT_EQ(json["file"].text, Framework("real.ini"));
    EXPECT_EQ(Texts(json["sections"], "dll"), std::vector<std::string>{"five.dll"});
}

}  // namespace
}  // namespace Orvik::Testing
