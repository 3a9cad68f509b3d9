// orvik create: a real factory, obtained as a module obtains it, asked for
// a component; the debug lines that caused and, when nothing was created,
// why.

#include "tests/tools/tool_fixture.h"

namespace Orvik::Testing {
namespace {

using CreateVerb = ToolTest;

TEST_F(CreateVerb, CreatesAndReleasesTheComponent)
{
    const std::string config = Write("Orvik.ini", FactoryAndModules() + "[7101]\ndll=tool_alpha.dll\n");
    const CommandResult result = RunCommand({"create", "7101", "--config", config, "--json"});
    EXPECT_EQ(result.status, 0) << result.out;
    const JsonValue& json = result.json;
    EXPECT_EQ(json["config"].text, Framework("Orvik.ini"));
    EXPECT_TRUE(json["factory"].boolean);
    EXPECT_TRUE(json["created"].boolean);
    EXPECT_EQ(json["componentId"].number, 7101);
    EXPECT_FALSE(json["shared"].boolean);
    EXPECT_TRUE(json["debugLines"].items.empty()) << result.out;
    EXPECT_EQ(json["loadFailure"].kind, JsonValue::Null);

    // A second request in the same process gets a factory of its own.
    EXPECT_EQ(RunCommand({"create", "7101", "--config", config}).status, 0);
}

TEST_F(CreateVerb, ShowsTheFactorysTraceOfTheRequest)
{
    const std::string config = Write("Orvik.ini", FactoryAndModules() + "[7101]\ndll=tool_alpha.dll\n");
    const CommandResult result = RunCommand({"create", "7101", "--config", config, "--json"});
    ASSERT_EQ(result.status, 0) << result.out;
    std::vector<std::string> events;
    for (const JsonValue& event : result.json["trace"].items) {
        if (event["module"].text == Module("tool_alpha.dll")) events.push_back(event["event"].text);
    }
    // Released, idle, unloaded at the timer's tick.
    EXPECT_EQ(events, (std::vector<std::string>{"route", "load", "idle", "unload-asked", "unload-done"}))
        << result.out;
    const JsonValue& route = result.json["trace"][0];
    EXPECT_EQ(route["route"].text, "section");
    EXPECT_EQ(route["id"].number, 7101);
    EXPECT_EQ(route["config"].text, Framework("Orvik.ini"));

    const CommandResult text = RunCommand({"create", "7101", "--config", config});
    EXPECT_NE(text.out.find("route 7101 by section of " + Framework("Orvik.ini") + ": " + Module("tool_alpha.dll")),
              std::string::npos)
        << text.out;
}

TEST_F(CreateVerb, NamesTheFailedLoadBehindTheDebugLine)
{
    const std::string config = Write("Orvik.ini", FactoryAndModules() + "[7001]\ndll=tool_needy.dll\n");
    const CommandResult result = RunCommand({"create", "7001", "--config", config, "--json"});
    EXPECT_EQ(result.status, 1);
    const JsonValue& json = result.json;
    EXPECT_FALSE(json["created"].boolean);
    ASSERT_EQ(json["debugLines"].items.size(), 1u) << result.out;
    EXPECT_EQ(json["debugLines"][0].text,
              "[Orvik_Error] LoadLibrary Fail(" + Module("tool_needy.dll") + "). ErrorCode(126)\n");
    EXPECT_EQ(json["route"].text, "section");
    EXPECT_EQ(json["loadFailure"]["path"].text, Module("tool_needy.dll"));
    EXPECT_EQ(json["loadFailure"]["missingModule"].text, "tool_hidden.dll");

    const CommandResult text = RunCommand({"create", "7001", "--config", config});
    EXPECT_NE(text.out.find("missing dependency: tool_hidden.dll"), std::string::npos) << text.out;
}

TEST_F(CreateVerb, SaysWhenNothingProvidesTheId)
{
    const std::string config = Write("Orvik.ini", FactoryAndModules());
    const CommandResult result = RunCommand({"create", "4242", "--config", config, "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.json["route"].text, "nothing");
    EXPECT_NE(result.json["routeDetail"].text.find("no section [4242]"), std::string::npos) << result.out;
    ASSERT_EQ(result.json["debugLines"].items.size(), 1u) << result.out;
    EXPECT_EQ(result.json["debugLines"][0].text.rfind("[Orvik_Error] LoadLibrary() Fail. ErrorCode(", 0), 0u);
}

TEST_F(CreateVerb, SaysWhereTheFactoryModuleWasLookedFor)
{
    const std::string config = Write("Orvik.ini", "[7101]\ndll=tool_alpha.dll\n");
    const CommandResult result = RunCommand({"create", "7101", "--config", config, "--json"});
    EXPECT_EQ(result.status, 1);
    const JsonValue& json = result.json;
    EXPECT_FALSE(json["factory"].boolean);
    ASSERT_EQ(json["debugLines"].items.size(), 1u) << result.out;
    EXPECT_EQ(json["debugLines"][0].text, "[Orvik_Error] Load OrvFact.dll Fail.\n");
    // No [361] DLL: the profile's directory followed by nothing.
    EXPECT_EQ(json["factoryModule"]["profile"].text, Framework("Orvik.ini"));
    EXPECT_TRUE(json["factoryModule"]["profileExists"].boolean);
    EXPECT_EQ(json["factoryModule"]["dll"].text, "");
    EXPECT_EQ(json["factoryModule"]["path"].text, scratch_.Framework() + "\\");
    EXPECT_EQ(json["loadFailure"]["path"].text, scratch_.Framework() + "\\");
    EXPECT_FALSE(json.Has("route"));

    const CommandResult missing = RunCommand({"create", "7101", "--config", Native("absent.ini")});
    EXPECT_NE(missing.out.find("why: no factory: the profile " + Framework("absent.ini") + " does not exist"),
              std::string::npos)
        << missing.out;
}

}  // namespace
}  // namespace Orvik::Testing
