// orvik module: whether a module loads and, if not, why in the loader's
// words; orvik check: every module a file names or scans with OK or the
// reason it fails, and the file's own mistakes.

#include <filesystem>
#include <utility>

#include "tests/tools/tool_fixture.h"

namespace Orvik::Testing {
namespace {

class ModuleVerb : public ToolTest {};

TEST_F(ModuleVerb, AComponentModuleLoadsWithItsExportsAndIds)
{
    const CommandResult result = RunCommand({"module", NativeModule("tool_alpha.dll"), "--json"});
    EXPECT_EQ(result.status, 0);
    const JsonValue& json = result.json;
    EXPECT_EQ(json["path"].text, Module("tool_alpha.dll"));
    EXPECT_TRUE(json["loads"].boolean);
    EXPECT_EQ(json["exports"].members.size(), 7u);
    for (const auto& member : json["exports"].members) EXPECT_TRUE(member.second.boolean) << member.first;
    EXPECT_EQ(json["idCount"].number, 2);
    ASSERT_EQ(json["ids"].items.size(), 2u);
    EXPECT_EQ(json["ids"][0].number, 7101);
    EXPECT_EQ(json["ids"][1].number, 7102);
}

TEST_F(ModuleVerb, NamesWhyAModuleDoesNotLoad)
{
    Write("bogus.dll", "this is text, not a module\n");
    struct Case {
        std::string file;
        std::string problem;
        std::string missingModule;
        std::string missingSymbol;
    };
    const std::vector<Case> cases = {
        {NativeModule("tool_needy.dll"), "dependency-missing", "tool_hidden.dll", ""},
        {NativeModule("tool_unresolved.dll"), "symbol-missing", "", "ToolSymbolValue"},
        {Native("bogus.dll"), "not-a-module", "", ""},
        {Native("absent.dll"), "file-missing", "", ""},
    };
    for (const Case& entry : cases) {
        const CommandResult result = RunCommand({"module", entry.file, "--json"});
        EXPECT_EQ(result.status, 1) << entry.file;
        const JsonValue& json = result.json;
        EXPECT_EQ(json["problem"].text, entry.problem) << result.out;
        if (json["loads"].boolean) {
            // Wine binds a missing procedure to a stub and loads the module;
            // the import table names it then.
            EXPECT_EQ(json["unresolvedImport"].text, entry.missingSymbol) << result.out;
            EXPECT_NE(entry.missingSymbol, "") << result.out;
            continue;
        }
        EXPECT_NE(json["failure"]["text"].text, "") << "the loader's own words";
        EXPECT_NE(json["failure"]["missingModule"].text.find(entry.missingModule), std::string::npos) << result.out;
        EXPECT_EQ(json["failure"]["missingSymbol"].text, entry.missingSymbol) << result.out;
    }
    EXPECT_EQ(RunCommand({"module", Native("bogus.dll"), "--json"}).json["failure"]["code"].number, 193);

    const CommandResult text = RunCommand({"module", NativeModule("tool_needy.dll")});
    EXPECT_NE(text.out.find("does not load: dependency missing: tool_hidden.dll"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("  loader: "), std::string::npos) << text.out;
}

TEST_F(ModuleVerb, AMissingExportFailsIt)
{
    const CommandResult result = RunCommand({"module", NativeModule("tool_create_only.dll"), "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.json["loads"].boolean);
    EXPECT_TRUE(result.json["exports"]["CreateComponent"].boolean);
    EXPECT_FALSE(result.json["exports"]["GetComponentIDs"].boolean);
    EXPECT_FALSE(result.json.Has("ids"));
}

// A module built without the helper: what it lacks, by its readable name,
// and how to build it instead.
TEST_F(ModuleVerb, AdvisesTheHelperForAModuleBuiltWithoutIt)
{
    const CommandResult runtimeless = RunCommand({"module", NativeModule("tool_runtimeless.dll"), "--json"});
    EXPECT_EQ(runtimeless.status, 1);
    EXPECT_EQ(runtimeless.json["problem"].text, "symbol-missing") << runtimeless.out;
    EXPECT_NE(runtimeless.json["message"].text.find("Orvik::ToolRuntimeValue(int) (_ZN5Orvik16ToolRuntimeValueEi)"),
              std::string::npos)
        << runtimeless.out;
    EXPECT_NE(runtimeless.json["advice"].text.find("orvik_add_component_module"), std::string::npos);
    EXPECT_NE(runtimeless.json["advice"].text.find("orvik-module"), std::string::npos);
    const CommandResult text = RunCommand({"module", NativeModule("tool_runtimeless.dll")});
    EXPECT_NE(text.out.find("Orvik::ToolRuntimeValue(int)"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("advice: it was linked without the framework's runtime"), std::string::npos) << text.out;

    const CommandResult createOnly = RunCommand({"module", NativeModule("tool_create_only.dll"), "--json"});
    EXPECT_NE(createOnly.json["advice"].text.find("orvik_add_component_module"), std::string::npos);

    // It works, but it exports its runtime too.
    const CommandResult unlisted = RunCommand({"module", NativeModule("tool_unlisted.dll"), "--json"});
    EXPECT_EQ(unlisted.status, 0) << unlisted.out;
    EXPECT_EQ(unlisted.json["ids"][0].number, 7104);
    EXPECT_FALSE(unlisted.json["extraExports"].items.empty()) << unlisted.out;
    EXPECT_NE(unlisted.json["advice"].text.find("names besides the seven"), std::string::npos) << unlisted.out;

    // Built by the helper: nothing to advise.
    const CommandResult alpha = RunCommand({"module", NativeModule("tool_alpha.dll"), "--json"});
    EXPECT_TRUE(alpha.json["extraExports"].items.empty()) << alpha.out;
    EXPECT_EQ(alpha.json["advice"].text, "");
}

class CheckVerb : public ToolTest {
protected:
    static std::vector<std::pair<std::string, std::string>> Problems(const JsonValue& json)
    {
        std::vector<std::pair<std::string, std::string>> problems;
        for (const JsonValue& finding : json["findings"].items) {
            if (finding["severity"].text == "problem") {
                problems.emplace_back(finding["reason"].text, finding["subject"].text);
            }
        }
        return problems;
    }
    static const JsonValue& Finding(const JsonValue& json, const std::string& reason)
    {
        for (const JsonValue& finding : json["findings"].items) {
            if (finding["reason"].text == reason) return finding;
        }
        ADD_FAILURE() << "no finding " << reason;
        return json["none"];
    }
};

TEST_F(CheckVerb, NamesEveryReasonOnce)
{
    Write("bogus.dll", "this is text, not a module\n");
    const std::string config = Write("broken.ini",
                                     "[DefaultValue]\n"
                                     "dllpath=" + ProgramDirectory() + "\n"
                                     "dlls=tool_alpha.dll, tool_beta.dll, tool_create_only.dll\n"
                                     "[7001]\n"
                                     "dll=tool_needy.dll\n"
                                     "[7002]\n"
                                     "dll=tool_unresolved.dll\n"
                                     "[7003]\n"
                                     "dll=" + Framework("bogus.dll") + "\n"
                                     "[7004]\n"
                                     "outputdebugstring=E\n"
                                     "[7005]\n"
                                     "dll=/opt/app/words.dll\n");
    const CommandResult result = RunCommand({"check", config, "--json"});
    EXPECT_EQ(result.status, 1);
    const JsonValue& json = result.json;
    EXPECT_FALSE(json["ok"].boolean);
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"slash-path", "line 13"},
        {"no-factory-section", "[361]"},
        {"dependency-missing", "[7001] dll=tool_needy.dll"},
        {"symbol-missing", "[7002] dll=tool_unresolved.dll"},
        {"not-a-module", "[7003] dll=" + Framework("bogus.dll")},
        {"no-dll", "[7004]"},
        {"file-missing", "[7005] dll=/opt/app/words.dll"},
        {"export-missing", "dlls: tool_create_only.dll"},
        {"duplicate-id", "id 7102"},
    };
    EXPECT_EQ(Problems(json), expected) << result.out;
    EXPECT_EQ(json["problems"].number, 9);

    EXPECT_EQ(Finding(json, "file-missing")["path"].text, Module("/opt/app/words.dll"));
    EXPECT_EQ(Finding(json, "dependency-missing")["failure"]["missingModule"].text, "tool_hidden.dll");
    EXPECT_EQ(Finding(json, "export-missing")["message"].text, "export missing: GetComponentIDs");
    EXPECT_EQ(Finding(json, "duplicate-id")["message"].text,
              "id 7102 is served by tool_alpha.dll and tool_beta.dll; tool_beta.dll wins (the later in the list)");
    EXPECT_EQ(Finding(json, "slash-path")["line"].number, 13);
    // The modules that work are there too.
    std::vector<std::string> fine;
    for (const JsonValue& finding : json["findings"].items) {
        if (finding["severity"].text == "ok") fine.push_back(finding["subject"].text);
    }
    EXPECT_EQ(fine, (std::vector<std::string>{"dlls: tool_alpha.dll", "dlls: tool_beta.dll"}));

    const CommandResult text = RunCommand({"check", config});
    EXPECT_NE(text.out.find("PROBLEM [7005] dll=/opt/app/words.dll: file missing: " + Module("/opt/app/words.dll")),
              std::string::npos)
        << text.out;
    EXPECT_NE(text.out.find("OK: 2, problems: 9, notes: 0"), std::string::npos) << text.out;
}

TEST_F(CheckVerb, AWorkingFileIsAllOk)
{
    const std::string config = Write(
        "fine.ini", FactoryAndModules() + "dlls=tool_beta.dll\n; comments are no notes\n[7101]\ndll=tool_alpha.dll\n");
    const CommandResult result = RunCommand({"check", config, "--json"});
    EXPECT_EQ(result.status, 0) << result.out;
    EXPECT_TRUE(result.json["ok"].boolean);
    std::vector<std::string> subjects;
    for (const JsonValue& finding : result.json["findings"].items) {
        EXPECT_EQ(finding["severity"].text, "ok") << finding["subject"].text << ": " << finding["message"].text;
        subjects.push_back(finding["subject"].text);
    }
    EXPECT_EQ(subjects, (std::vector<std::string>{"factory module ([361] DLL=" + Module("OrvFact.dll") + ")",
                                                  "[7101] dll=tool_alpha.dll", "dlls: tool_beta.dll"}));
    EXPECT_EQ(result.json["findings"][0]["ids"][0].number, 361);
}

TEST_F(CheckVerb, ASectionWhoseModuleDoesNotReportItsIdIsAProblem)
{
    const std::string config =
        Write("stale.ini", FactoryAndModules() + "[7101]\ndll=tool_alpha.dll\n[7105]\ndll=tool_alpha.dll\n");
    const CommandResult result = RunCommand({"check", config, "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(Problems(result.json),
              (std::vector<std::pair<std::string, std::string>>{{"id-not-listed", "[7105] dll=tool_alpha.dll"}}))
        << result.out;
    EXPECT_EQ(Finding(result.json, "id-not-listed")["message"].text,
              "loads, but its GetComponentIDs reports 7101, 7102, not 7105: a request for 7105 gets nothing");
    EXPECT_NE(RunCommand({"check", config}).out.find("OK: 2, problems: 1"), std::string::npos);
}

TEST_F(CheckVerb, AdvisesTheHelperForModulesBuiltWithoutIt)
{
    const std::string config = Write("unbuilt.ini", FactoryAndModules() +
                                                        "dlls=tool_create_only.dll, tool_unlisted.dll\n"
                                                        "[7001]\ndll=tool_runtimeless.dll\n");
    const CommandResult result = RunCommand({"check", config, "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(Problems(result.json), (std::vector<std::pair<std::string, std::string>>{
                                         {"symbol-missing", "[7001] dll=tool_runtimeless.dll"},
                                         {"export-missing", "dlls: tool_create_only.dll"}}))
        << result.out;
    for (const char* reason : {"symbol-missing", "export-missing", "extra-exports"}) {
        EXPECT_NE(Finding(result.json, reason)["advice"].text.find("orvik_add_component_module"), std::string::npos)
            << reason;
    }
    const JsonValue& extra = Finding(result.json, "extra-exports");
    EXPECT_EQ(extra["severity"].text, "note");
    EXPECT_EQ(extra["subject"].text, "dlls: tool_unlisted.dll");
    EXPECT_EQ(Finding(result.json, "ok")["advice"].text, "");

    const CommandResult text = RunCommand({"check", config});
    EXPECT_NE(text.out.find("symbol missing: Orvik::ToolRuntimeValue(int)"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("           advice: "), std::string::npos) << text.out;
}

TEST_F(CheckVerb, ChecksTheFilesTheProgramReads)
{
    std::filesystem::create_directories(scratch_.native() / "bin");
    const std::string program = Write("bin/app", "a program\n");
    // The file where the command runs would pass; the program never reads it.
    Write("Orvik.ini", FactoryAndModules() + "[7101]\ndll=tool_alpha.dll\n");

    const CommandResult missing = RunCommand({"check", "--program", program, "--json"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.json["program"].text, Framework("bin\\app"));
    EXPECT_EQ(missing.json["file"].text, Framework("bin\\Orvik.ini"));
    EXPECT_EQ(Problems(missing.json), (std::vector<std::pair<std::string, std::string>>{
                                          {"config-missing", "configuration file"}}));

    // Beside the program, a redirect to a file naming a factory module
    // that is not there.
    Write("bin/Orvik.ini", "[Redirect]\nPath=conf.ini\n");
    Write("bin/conf.ini", "[361]\nDLL=OrvFact.dll\n[7101]\ndll=" + Module("tool_alpha.dll") + "\n");
    const CommandResult broken = RunCommand({"check", "--program", program, "--json"});
    EXPECT_EQ(broken.status, 1);
    EXPECT_EQ(broken.json["start"].text, Framework("bin\\Orvik.ini"));
    EXPECT_EQ(broken.json["file"].text, Framework("bin\\conf.ini"));
    EXPECT_EQ(Problems(broken.json),
              (std::vector<std::pair<std::string, std::string>>{{"file-missing", "factory module ([361] DLL=OrvFact.dll)"}}))
        << broken.out;
    EXPECT_EQ(Finding(broken.json, "file-missing")["path"].text, Framework("bin\\OrvFact.dll"));
    const CommandResult text = RunCommand({"check", "--program", program});
    EXPECT_EQ(text.out.rfind("program: " + Framework("bin\\app"), 0), 0u) << text.out;
}

TEST_F(CheckVerb, AFileLeftToDefaultIsNamedAsSuch)
{
    // Whatever the current directory holds, the report says which file it
    // took and how to name the program's instead.
    const CommandResult result = RunCommand({"check", "--json"});
    EXPECT_EQ(Finding(result.json, "current-directory")["severity"].text, "note");
    EXPECT_NE(Finding(result.json, "current-directory")["message"].text.find("--program"), std::string::npos);
    const JsonValue named = RunCommand({"check", "--program", NativeModule("tool_alpha.dll"), "--json"}).json;
    const std::vector<std::string> reasons = Texts(named["findings"], "reason");
    EXPECT_EQ(std::find(reasons.begin(), reasons.end(), "current-directory"), reasons.end());
}

TEST_F(CheckVerb, AMissingFileIsAProblem)
{
    const CommandResult result = RunCommand({"check", Native("absent.ini"), "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(Problems(result.json), (std::vector<std::pair<std::string, std::string>>{
                                         {"config-missing", "configuration file"}}));
    EXPECT_EQ(Finding(result.json, "config-missing")["message"].text, "no such file: " + Framework("absent.ini"));
}

}  // namespace
}  // namespace Orvik::Testing
