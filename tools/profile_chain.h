#pragma once
// A profile's redirect chain and the factory module it names, step by step,
// through the bootstrap's own resolution.

#include <string>
#include <vector>

#include "bootstrap/profile_resolution.h"

namespace Orvik {
namespace Tools {

struct ProfileStep {
    std::string profile;   // a profile read
    bool exists;
    std::string redirect;  // its "Redirect"/"Path" value
    RedirectStep step;
};

struct ProfileChain {
    std::string start;
    std::vector<ProfileStep> steps;
    std::string final;  // the file the chain leads to
    bool finalExists;
};

// isBlank: the bootstrap's rule (IsBlank) when a module looks for the
// factory module, the factory's (Rules::IsBlankString) when it looks for a
// catalog's file.
ProfileChain TraceProfileChain(const std::string& start, BlankRule isBlank);

struct FactoryModulePath {
    std::string dll;                   // "361"/"DLL", trimmed
    std::string notUseDefaultDllPath;  // "361"/"NotUseDefaultDllPath", trimmed
    std::string dllPath;               // "DefaultValue"/"DllPath", as written
    std::string path;                  // what the bootstrap loads
    FactoryPathRule rule;
    bool exists;
};

FactoryModulePath TraceFactoryModule(const std::string& profile);

// Names for JSON and words for people.
const char* StepName(RedirectStep step);
const char* StepText(RedirectStep step);
const char* RuleName(FactoryPathRule rule);
const char* RuleText(FactoryPathRule rule);

}  // namespace Tools
}  // namespace Orvik
