#include "tools/profile_chain.h"

#include "platform/profile.h"
#include "orvik/util/bootstrap_helpers.h"
#include "tools/path_kind.h"

namespace Orvik {
namespace Tools {

namespace {

class StepRecorder : public RedirectWatcher {
public:
    void OnProfile(const char* profile, const char* redirect, RedirectStep step) override
    {
        steps.push_back({profile, IsFile(profile), redirect, step});
    }
    std::vector<ProfileStep> steps;
};

}  // namespace

ProfileChain TraceProfileChain(const std::string& start, BlankRule isBlank)
{
    char profile[Platform::kMaxPath] = {};
    CopyString(profile, sizeof profile, start.c_str());
    StepRecorder recorder;
    FollowRedirects(profile, isBlank, &recorder);
    return {start, recorder.steps, profile, IsFile(profile)};
}

FactoryModulePath TraceFactoryModule(const std::string& profile)
{
    char dll[Platform::kMaxPath] = {};
    char flag[Platform::kMaxPath] = {};
    char dllPath[Platform::kMaxPath] = {};
    char path[Platform::kMaxPath] = {};
    // The values as the rule reads them, for the record.
    ReadProfileString(profile.c_str(), "361", "DLL", "", dll, sizeof dll);
    ReadProfileString(profile.c_str(), "361", "NotUseDefaultDllPath", "0", flag, sizeof flag);
    Platform::ReadProfileValue("DefaultValue", "DllPath", "", dllPath, sizeof dllPath, profile.c_str());
    const FactoryPathRule rule = ResolveFactoryModulePathByRule(profile.c_str(), path, sizeof path);
    return {dll, flag, dllPath, path, rule, IsFile(path)};
}

const char* StepName(RedirectStep step)
{
    switch (step) {
    case RedirectStep::None: return "none";
    case RedirectStep::Relative: return "relative";
    case RedirectStep::Absolute: return "absolute";
    case RedirectStep::Loop: return "loop";
    }
    return "";
}

const char* StepText(RedirectStep step)
{
    switch (step) {
    case RedirectStep::None: return "no redirect: this is the file";
    case RedirectStep::Relative: return "relative: joined to this file's directory; that file is not examined further";
    case RedirectStep::Absolute: return "absolute: followed";
    case RedirectStep::Loop: return "names a file already read: the chain stops here";
    }
    return "";
}

const char* RuleName(FactoryPathRule rule)
{
    switch (rule) {
    case FactoryPathRule::DllAbsolute: return "dll-absolute";
    case FactoryPathRule::BesideProfile: return "beside-profile";
    case FactoryPathRule::NoDefaultDirectory: return "no-dllpath";
    case FactoryPathRule::DefaultDirectory: return "dllpath-absolute";
    case FactoryPathRule::RelativeDefaultDirectory: return "dllpath-relative";
    }
    return "";
}

const char* RuleText(FactoryPathRule rule)
{
    switch (rule) {
    case FactoryPathRule::DllAbsolute: return "[361] DLL is absolute and used as it is";
    case FactoryPathRule::BesideProfile:
        return "[361] NotUseDefaultDllPath starts with 1: the profile's directory + DLL";
    case FactoryPathRule::NoDefaultDirectory: return "[DefaultValue] DllPath is blank: the profile's directory + DLL";
    case FactoryPathRule::DefaultDirectory: return "[DefaultValue] DllPath is absolute: DllPath + \"\\\" + DLL";
    case FactoryPathRule::RelativeDefaultDirectory:
        return "[DefaultValue] DllPath is relative: the profile's directory + DllPath + \"\\\" + DLL";
    }
    return "";
}

}  // namespace Tools
}  // namespace Orvik
