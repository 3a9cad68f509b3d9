#pragma once
// Everything that keeps a configuration file from working: each module it
// names or scans, loaded here, with OK or the reason it fails, and the
// mistakes in the file itself.

#include <string>
#include <vector>

#include "orvik/module/component.h"
#include "orvik/platform/load_failure.h"
#include "tools/arguments.h"

namespace Orvik {
namespace Tools {

enum class Severity { Ok, Problem, Note };

struct Finding {
    Severity severity;
    std::string reason;   // "ok", "file-missing", "duplicate-id", ...
    std::string subject;  // what was checked: "[5100] dll=Greeter.dll", "line 7", ...
    std::string message;
    std::string advice;  // how to build the module right, when that is the cure
    std::string path;  // the module file tried, for modules
    int line = 0;      // the line of the file, when one
    bool loadFailed = false;
    Platform::LoadFailure failure{};  // when loadFailed
    std::vector<ComponentId> ids;     // what a module that loads reports
};

struct CheckReport {
    std::string program;  // the program whose files are checked, when named
    std::string start;
    std::string file;  // the file the factory reads for start
    std::vector<Finding> findings;
    std::vector<std::string> debugLines;

    int Count(Severity severity) const;
};

CheckReport CheckConfiguration(const StartFile& start);

const char* SeverityName(Severity severity);

}  // namespace Tools
}  // namespace Orvik
