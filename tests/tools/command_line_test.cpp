// The command line: verbs, options, help and usage errors, and the JSON
// the command writes for any text.

#include "orvik/module/version.h"
#include "tests/tools/tool_fixture.h"

namespace Orvik::Testing {
namespace {

TEST(CommandLine, EveryVerbHasItsHelp)
{
    for (const char* verb : {"resolve", "catalog", "module", "check", "create"}) {
        const CommandResult result = RunCommand({verb, "--help"});
        EXPECT_EQ(result.status, 0) << verb;
        EXPECT_EQ(result.out.rfind(std::string("usage: orvik ") + verb, 0), 0u) << result.out;
        EXPECT_EQ(result.err, "");
    }
    const CommandResult overview = RunCommand({"--help"});
    EXPECT_EQ(overview.status, 0);
    for (const char* verb : {"resolve", "catalog", "module", "check", "create"}) {
        EXPECT_NE(overview.out.find(std::string("  ") + verb), std::string::npos) << verb;
    }
}

TEST(CommandLine, VersionIsTheFrameworksOwn)
{
    const CommandResult result = RunCommand({"--version"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, std::string("orvik ") + ORVIK_VERSION_STRING + "\n");
    EXPECT_EQ(result.err, "");
}

TEST(CommandLine, WrongCommandLinesAreUsageErrors)
{
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {"frobnicate"},
        {"check", "--verbose"},
        {"check", "a.ini", "b.ini"},
        {"module"},
        {"create"},
        {"create", "12x"},
        {"create", "4294967296"},
        {"create", "5", "--config"},
        {"resolve", "--config", "a.ini"},
        {"check", std::string(300, 'a')},
        {"check", "--version"},
        {"check", "--program"},
        {"check", "a.ini", "--program", "app"},
        {"catalog", "--program", "app"},
        {"resolve", "--program", "no_such_program"},
        {"resolve", "--program", "."},
    };
    for (const auto& argv : wrong) {
        const CommandResult result = RunCommand(argv);
        EXPECT_EQ(result.status, 2) << testing::PrintToString(argv);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find("orvik"), std::string::npos);
    }
}

class JsonText : public ToolTest {};

// Lines the parser ignores come back verbatim, whatever their bytes.
TEST_F(JsonText, AnyTextInTheFileComesBackIntact)
{
    const std::string odd = "quote \" backslash \\ tab \t bell \a utf8 \xC3\xA9 latin1 \xE9 end";
    const std::string config = Write("odd.ini", odd + "\n");
    const CommandResult result = RunCommand({"catalog", config, "--json"});
    ASSERT_EQ(result.json["ignoredLines"].items.size(), 1u) << result.out;
    // The byte that is no UTF-8 is written as the character U+00E9.
    const std::string expected = "quote \" backslash \\ tab \t bell \a utf8 \xC3\xA9 latin1 \xC3\xA9 end";
    EXPECT_EQ(result.json["ignoredLines"][0]["text"].text, expected);
}

}  // namespace
}  // namespace Orvik::Testing
