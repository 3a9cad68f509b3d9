#include "tools/arguments.h"

#include "orvik/platform/platform_api.h"
#include "orvik/util/path_rules.h"
#include "platform/absolute_path.h"

namespace Orvik {
namespace Tools {

bool ParseArguments(const std::vector<std::string>& argv, Arguments* arguments, std::string* error)
{
    for (size_t i = 0; i < argv.size(); ++i) {
        const std::string& word = argv[i];
        if (word == "--json") {
            arguments->json = true;
        } else if (word == "--help" || word == "-h") {
            arguments->help = true;
        } else if (word == "--version") {
            arguments->version = true;
        } else if (word == "--config") {
            if (i + 1 == argv.size()) {
                *error = "--config needs a file";
                return false;
            }
            arguments->config = argv[++i];
        } else if (word == "--program") {
            if (i + 1 == argv.size()) {
                *error = "--program needs the program's file";
                return false;
            }
            arguments->program = argv[++i];
        } else if (word.size() > 1 && word[0] == '-') {
            *error = "unknown option " + word;
            return false;
        } else if (arguments->verb.empty()) {
            arguments->verb = word;
        } else {
            arguments->operands.push_back(word);
        }
    }
    return true;
}

std::string FrameworkPathFromUser(const std::string& path)
{
    char absolute[Platform::kMaxPath] = {};
    return Platform::GetAbsoluteFrameworkPath(path.c_str(), absolute, sizeof absolute) ? absolute : "";
}

std::string ConfigPathFromUser(const std::string& given)
{
    return FrameworkPathFromUser(given.empty() ? "Orvik.ini" : given);
}

std::string ProfileOfProgram(const std::string& program)
{
    const char* separator = Rules::GetLastSeparator(program.c_str());
    const std::string directory = separator == nullptr ? program : program.substr(0, separator - program.c_str());
    char profile[Platform::kMaxPath] = {};
    Rules::JoinToBaseDirectory(directory.c_str(), "Orvik.ini", profile, sizeof profile);
    return profile;
}

}  // namespace Tools
}  // namespace Orvik
