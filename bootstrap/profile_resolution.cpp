#include "bootstrap/profile_resolution.h"

#include <algorithm>
#include <string>
#include <vector>

#include "orvik/platform/platform_api.h"
#include "platform/profile.h"
#include "orvik/util/bootstrap_helpers.h"

namespace Orvik {

namespace {

constexpr int kValueSize = 1024;
constexpr int kFlagSize = 10;

}  // namespace

void FollowRedirects(char* profile, BlankRule isBlank, RedirectWatcher* watcher, RedirectReader* reader)
{
    const auto tell = [&](const char* redirect, RedirectStep step) {
        if (watcher != nullptr) watcher->OnProfile(profile, redirect, step);
    };
    // Profiles are compared as spelled: two spellings of one file cost one
    // more read, whereas ignoring case would stop too early where names are
    // case-sensitive.
    std::vector<std::string> read;
    for (;;) {
        read.emplace_back(profile);
        char redirect[Platform::kMaxPath] = {};
        if (reader != nullptr) {
            reader->ReadRedirect(profile, redirect, sizeof redirect);
        } else {
            Platform::ReadProfileValue("Redirect", "Path", "", redirect, sizeof redirect, profile);
        }
        if (isBlank(redirect)) return tell(redirect, RedirectStep::None);
        if (IsRelativePath(redirect)) {
            tell(redirect, RedirectStep::Relative);
            char joined[Platform::kMaxPath] = {};
            JoinToProfileDirectory(profile, redirect, joined, sizeof joined);
            CopyString(profile, Platform::kMaxPath, joined);
            return;
        }
        if (std::find(read.begin(), read.end(), redirect) != read.end()) return tell(redirect, RedirectStep::Loop);
        tell(redirect, RedirectStep::Absolute);
        CopyString(profile, Platform::kMaxPath, redirect);
    }
}

void ResolveProfilePath(const char* configPath, char* out, int size)
{
    if (out == nullptr || size < 1) return;
    // Every starting form is cut to 259 characters, as the joined ones are.
    char profile[Platform::kMaxPath] = {};
    if (configPath == nullptr || configPath[0] == '\0') {
        JoinToBaseDirectory("Orvik.ini", profile, sizeof profile);
    } else if (IsRelativePath(configPath)) {
        JoinToBaseDirectory(configPath, profile, sizeof profile);
    } else {
        CopyStringN(profile, sizeof profile, configPath, Platform::kMaxPath - 1);
    }
    FollowRedirects(profile, &IsBlank);
    out[0] = '\0';
    CopyStringN(out, size, profile, size - 1);
}

void ResolveFactoryModulePath(const char* profile, char* out, int size)
{
    ResolveFactoryModulePathByRule(profile, out, size);
}

FactoryPathRule ResolveFactoryModulePathByRule(const char* profile, char* out, int size)
{
    if (profile == nullptr || out == nullptr || size < 1) return FactoryPathRule::NoDefaultDirectory;
    out[0] = '\0';
    char dll[Platform::kMaxPath] = {};
    ReadProfileString(profile, "361", "DLL", "", dll, sizeof dll);
    if (!IsRelativePath(dll)) {
        CopyString(out, size, dll);
        return FactoryPathRule::DllAbsolute;
    }
    char flag[kFlagSize] = {};
    ReadProfileString(profile, "361", "NotUseDefaultDllPath", "0", flag, sizeof flag);
    if (flag[0] == '1') {
        JoinToProfileDirectory(profile, dll, out, size);
        return FactoryPathRule::BesideProfile;
    }
    char dllPath[Platform::kMaxPath] = {};
    Platform::ReadProfileValue("DefaultValue", "DllPath", "", dllPath, sizeof dllPath, profile);
    char joined[Platform::kMaxPath] = {};
    JoinDirectoryName(dllPath, dll, joined, sizeof joined);
    if (IsRelativePath(joined)) {
        JoinToProfileDirectory(profile, joined, out, size);
    } else {
        CopyString(out, size, joined);
    }
    if (IsBlank(dllPath)) return FactoryPathRule::NoDefaultDirectory;
    return IsRelativePath(dllPath) ? FactoryPathRule::RelativeDefaultDirectory : FactoryPathRule::DefaultDirectory;
}

void ReadProfileString(const char* profile, const char* section, const char* key,
                       const char* defaultValue, char* out, int size)
{
    if (out == nullptr || size < 1) return;
    char value[kValueSize] = {};
    Platform::ReadProfileValue(section, key, defaultValue, value, sizeof value, profile);
    TrimBlanks(value, out, size);
}

}  // namespace Orvik
