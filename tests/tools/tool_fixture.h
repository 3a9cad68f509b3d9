#pragma once
// The orvik command run in the test program's process, as main runs it, on
// configuration files the tests write and on the modules of modules/ (in
// the program's directory, which is also where the factory module is).

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/json_value.h"
#include "tests/support/test_paths.h"
#include "tools/orvik_command.h"

namespace Orvik::Testing {

struct CommandResult {
    int status = -1;
    std::string out;
    std::string err;
    JsonValue json;  // the output of a --json command
};

// Runs the command; with --json its output must parse.
inline CommandResult RunCommand(const std::vector<std::string>& argv)
{
    std::ostringstream out;
    std::ostringstream err;
    CommandResult result;
    result.status = Tools::RunOrvik(argv, out, err);
    result.out = out.str();
    result.err = err.str();
    if (std::find(argv.begin(), argv.end(), "--json") != argv.end()) {
        std::string error;
        EXPECT_TRUE(ParseJson(result.out, &result.json, &error)) << error << "\n" << result.out;
    }
    return result;
}

// Every element's member of that name, as text.
inline std::vector<std::string> Texts(const JsonValue& array, const std::string& member)
{
    std::vector<std::string> texts;
    for (const JsonValue& item : array.items) texts.push_back(item[member].text);
    return texts;
}

class ToolTest : public ::testing::Test {
protected:
    // Writes a file in the scratch directory; returns its path as a shell
    // would give it.
    std::string Write(const std::string& name, const std::string& text)
    {
        std::ofstream(scratch_.native() / name, std::ios::binary) << text;
        return Native(name);
    }
    std::string Native(const std::string& name) const { return (scratch_.native() / name).string(); }
    // The same file in the framework's form, as the command reports it.
    std::string Framework(const std::string& name) const { return scratch_.Framework(name); }

    // A module of the program's directory, in the framework's form.
    static std::string Module(const std::string& name) { return ProgramDirectory() + "\\" + name; }
    static std::string NativeModule(const std::string& name) { return NativePath(Module(name)).string(); }

    // A configuration's first lines: the factory module and the module
    // directory, both the program's.
    static std::string FactoryAndModules()
    {
        return "[361]\nDLL=" + Module("OrvFact.dll") + "\n[DefaultValue]\ndllpath=" + ProgramDirectory() + "\n";
    }

    ScratchDirectory scratch_{"tool"};
};

}  // namespace Orvik::Testing
