#include "orvik/util/bootstrap_helpers.h"

#include "orvik/platform/platform_api.h"
#include "orvik/util/path_rules.h"
#include "orvik/util/string_rules.h"

namespace Orvik {

int CopyString(char* dst, int size, const char* src) { return Rules::CopyString(dst, size, src); }

int AppendString(char* dst, int size, const char* src)
{
    return Rules::AppendString(dst, size, src);
}

int CopyStringN(char* dst, int size, const char* src, int n)
{
    return Rules::CopyStringN(dst, size, src, n);
}

void TrimBlanks(const char* src, char* dst, int size) { Rules::TrimBlanks(src, dst, size); }

int IsBlank(const char* text) { return Rules::IsBlank(text); }

int IsRelativePath(const char* path) { return Rules::IsRelativePath(path); }

const char* GetHostDirectory() { return Rules::HostDirectory(); }

int JoinToBaseDirectory(const char* name, char* dst, int size)
{
    return Rules::JoinToBaseDirectory(GetHostDirectory(), name, dst, size);
}

const char* GetLastSeparator(const char* path) { return Rules::GetLastSeparator(path); }

int JoinToProfileDirectory(const char* profile, const char* name, char* dst, int size)
{
    return Rules::JoinToProfileDirectory(profile, name, dst, size);
}

void JoinDirectoryName(const char* dir, const char* name, char* dst, int size)
{
    Rules::JoinDirectoryName(dir, name, dst, size);
}

}  // namespace Orvik
