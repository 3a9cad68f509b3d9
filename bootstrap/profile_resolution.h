#pragma once
// Where the factory module is: the profile ("Orvik.ini" or the module's
// registry path, following redirects) and the module path it names. Only
// profiles are read; nothing is loaded or reported. Results are cut or left
// empty when a piece does not fit; out always stays within size bytes.

namespace Orvik {

// Which redirect values count as none.
using BlankRule = int (*)(const char* text);

// How the chain went on from one profile.
enum class RedirectStep {
    None,      // blank redirect: this profile is the result
    Relative,  // joined to this profile's directory; the chain ends unexamined
    Absolute,  // followed
    Loop,      // names a profile already read: the chain stops at this one
};

// Tools watch a chain through this: each profile read, with its redirect.
class RedirectWatcher {
public:
    virtual void OnProfile(const char* profile, const char* redirect, RedirectStep step) = 0;

protected:
    ~RedirectWatcher() = default;
};

// Reads a profile's "Redirect"/"Path" value; the factory's reads the file
// into the catalog that then loads it, so that each file is read once.
class RedirectReader {
public:
    virtual void ReadRedirect(const char* profile, char* value, int size) = 0;

protected:
    ~RedirectReader() = default;
};

// Which case of the module path rule gave the factory module's path.
enum class FactoryPathRule {
    DllAbsolute,             // "DLL" is absolute and used as it is
    BesideProfile,           // "NotUseDefaultDllPath" starts with 1
    NoDefaultDirectory,      // "DllPath" is blank
    DefaultDirectory,        // "DllPath" is absolute
    RelativeDefaultDirectory,  // "DllPath" is relative to the profile's directory
};

// profile (260 bytes, the first profile's path) becomes the profile its
// "Redirect"/"Path" entries lead to. A blank redirect ends the chain there;
// a relative one is joined to the directory of the profile naming it and
// ends the chain unexamined. An absolute redirect naming a profile already
// read would loop: the chain stops at the profile reached so far, the last
// one whose redirect was honoured. Without a reader, the profile reader of
// the platform reads the values.
void FollowRedirects(char* profile, BlankRule isBlank, RedirectWatcher* watcher = nullptr,
                     RedirectReader* reader = nullptr);

// The final profile for configPath: empty means "Orvik.ini" in the host
// directory, a relative path is joined to the host directory.
void ResolveProfilePath(const char* configPath, char* out, int size);

// The factory module's path for configPath: the final profile as
// ResolveProfilePath finds it, the path it names as ResolveFactoryModulePath
// reads it, each profile read once.
void ResolveFactoryModuleFromConfig(const char* configPath, char* out, int size);

// The factory module's path named by a final profile ("361"/"DLL",
// "361"/"NotUseDefaultDllPath", "DefaultValue"/"DllPath").
void ResolveFactoryModulePath(const char* profile, char* out, int size);
// The same, telling which case of the rule applied.
FactoryPathRule ResolveFactoryModulePathByRule(const char* profile, char* out, int size);

// One value of profile without its leading and trailing spaces and tabs;
// empty when it does not fit in size bytes.
void ReadProfileString(const char* profile, const char* section, const char* key,
                       const char* defaultValue, char* out, int size);

}  // namespace Orvik
