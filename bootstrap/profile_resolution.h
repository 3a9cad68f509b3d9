#pragma once
// Where the factory module is: the profile ("Orvik.ini" or the module's
// registry path, following redirects) and the module path it names. Only
// profiles are read; nothing is loaded or reported. Results are cut or left
// empty when a piece does not fit; out always stays within size bytes.

namespace Orvik {

// The final profile for configPath: empty means "Orvik.ini" in the host
// directory, a relative path is joined to the host directory.
void ResolveProfilePath(const char* configPath, char* out, int size);

// The factory module's path named by a final profile ("361"/"DLL",
// "361"/"NotUseDefaultDllPath", "DefaultValue"/"DllPath").
void ResolveFactoryModulePath(const char* profile, char* out, int size);

// One value of profile without its leading and trailing spaces and tabs;
// empty when it does not fit in size bytes.
void ReadProfileString(const char* profile, const char* section, const char* key,
                       const char* defaultValue, char* out, int size);

}  // namespace Orvik
