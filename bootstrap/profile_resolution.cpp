#include "bootstrap/profile_resolution.h"

#include <algorithm>
#include <new>
#include <string>
#include <vector>

#include "orvik/platform/file_system.h"
#include "orvik/platform/module_loader.h"
#include "orvik/platform/platform_api.h"
#include "platform/profile.h"
#include "orvik/util/bootstrap_helpers.h"

namespace Orvik {

namespace {

constexpr int kValueSize = 1024;
constexpr int kFlagSize = 10;

// Reads what the platform's profile reader would read of the file: its
// bytes up to its size when opened; false when it cannot be read whole.
bool ReadProfileBytes(const char* profile, std::string* text)
{
    const Platform::UniqueFile file(Platform::OpenFileForReading(profile));
    if (!file) return false;
    Platform::SetLastErrorCode(Platform::kErrorSuccess);
    const uint32_t size = Platform::GetFileSizeLow(file.get());
    if (size == ~uint32_t{0} && Platform::GetLastErrorCode() != Platform::kErrorSuccess) return false;
    // Without the memory for the bytes, the platform's reader reads them.
    try {
        text->assign(size, '\0');
    } catch (const std::bad_alloc&) {
        return false;
    }
    uint32_t bytesRead = 0;
    if (!Platform::ReadFromFile(file.get(), text->data(), size, &bytesRead)) return false;
    text->resize(bytesRead);
    return true;
}

// Each opening of a profile costs a handful of calls of the system: the
// values asked of one profile come from one read of it. A file that could
// not be read is left to the platform's reader, which answers with the
// default as before.
class ProfileText : public RedirectReader {
public:
    ProfileText() = default;
    explicit ProfileText(const char* profile) { Load(profile); }

    void Read(const char* section, const char* key, const char* defaultValue, char* out, int size) const
    {
        Platform::ReadProfileValueFromText(section, key, defaultValue, out, static_cast<uint32_t>(size),
                                           profile_.c_str(), read_ ? text_.data() : nullptr,
                                           static_cast<uint32_t>(text_.size()));
    }
    // The redirect of each profile of a chain, the last one's bytes kept.
    void ReadRedirect(const char* profile, char* value, int size) override
    {
        Load(profile);
        Read("Redirect", "Path", "", value, size);
    }
    bool Holds(const char* profile) const { return profile_ == profile; }

private:
    void Load(const char* profile)
    {
        profile_ = profile;
        text_.clear();
        read_ = ReadProfileBytes(profile, &text_);
    }

    std::string profile_;
    std::string text_;
    bool read_ = false;
};

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

namespace {

// The final profile for configPath, its chain read through reader.
void FollowProfileChain(const char* configPath, char* profile, ProfileText* reader)
{
    // Every starting form is cut to 259 characters, as the joined ones are.
    if (configPath == nullptr || configPath[0] == '\0') {
        JoinToBaseDirectory("Orvik.ini", profile, Platform::kMaxPath);
    } else if (IsRelativePath(configPath)) {
        JoinToBaseDirectory(configPath, profile, Platform::kMaxPath);
    } else {
        CopyStringN(profile, Platform::kMaxPath, configPath, Platform::kMaxPath - 1);
    }
    FollowRedirects(profile, &IsBlank, nullptr, reader);
}

// One value of the profile text without its leading and trailing spaces
// and tabs; empty when it does not fit in size bytes.
void ReadTrimmed(const ProfileText& text, const char* section, const char* key, const char* defaultValue, char* out,
                 int size)
{
    char value[kValueSize] = {};
    text.Read(section, key, defaultValue, value, sizeof value);
    TrimBlanks(value, out, size);
}

FactoryPathRule FactoryModulePathOf(const char* profile, const ProfileText& text, char* out, int size)
{
    out[0] = '\0';
    char dll[Platform::kMaxPath] = {};
    ReadTrimmed(text, "361", "DLL", "", dll, sizeof dll);
    if (!IsRelativePath(dll)) {
        CopyString(out, size, dll);
        return FactoryPathRule::DllAbsolute;
    }
    char flag[kFlagSize] = {};
    ReadTrimmed(text, "361", "NotUseDefaultDllPath", "0", flag, sizeof flag);
    if (flag[0] == '1') {
        JoinToProfileDirectory(profile, dll, out, size);
        return FactoryPathRule::BesideProfile;
    }
    char dllPath[Platform::kMaxPath] = {};
    text.Read("DefaultValue", "DllPath", "", dllPath, sizeof dllPath);
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

}  // namespace

void ResolveProfilePath(const char* configPath, char* out, int size)
{
    if (out == nullptr || size < 1) return;
    char profile[Platform::kMaxPath] = {};
    ProfileText reader;
    FollowProfileChain(configPath, profile, &reader);
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
    return FactoryModulePathOf(profile, ProfileText(profile), out, size);
}

void ResolveFactoryModuleFromConfig(const char* configPath, char* out, int size)
{
    if (out == nullptr || size < 1) return;
    char profile[Platform::kMaxPath] = {};
    ProfileText reader;
    FollowProfileChain(configPath, profile, &reader);
    // The chain's last profile read is the final one, unless a relative
    // redirect named one it did not read.
    if (!reader.Holds(profile)) reader = ProfileText(profile);
    FactoryModulePathOf(profile, reader, out, size);
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
