#pragma once
// The command line of the orvik program: a verb, its operands and options.

#include <string>
#include <vector>

namespace Orvik {
namespace Tools {

struct Arguments {
    std::string verb;
    std::vector<std::string> operands;
    std::string config;  // --config
    std::string program;  // --program
    bool json = false;   // --json
    bool help = false;   // --help or -h
    bool version = false;  // --version
};

// Parses argv after the program name; false with a message when an option
// is unknown or lacks its value.
bool ParseArguments(const std::vector<std::string>& argv, Arguments* arguments, std::string* error);

// A path given on the command line (the platform's spelling, relative to
// the current directory) in the framework's absolute form; empty when it
// does not fit a path buffer.
std::string FrameworkPathFromUser(const std::string& path);

// The configuration file a verb works on: the one given, or "Orvik.ini" in
// the current directory, which stands for the host's directory.
std::string ConfigPathFromUser(const std::string& given);

// The file check and resolve start from, in the framework's form.
struct StartFile {
    std::string path;
    std::string program;   // --program: path is the profile beside it
    bool guessed = false;  // neither CONFIG nor --program: Orvik.ini here
};

// The profile a program reads: "Orvik.ini" in its executable's directory,
// joined as the framework joins it.
std::string ProfileOfProgram(const std::string& program);

}  // namespace Tools
}  // namespace Orvik
