// The last failed load of each thread, with what dlerror() said about it.

#include <cstring>
#include <string>

#include "platform/posix/load_failure_note.h"
#include "platform/posix/native_path.h"
#include "platform/module_record.h"

namespace Orvik {
namespace Platform {

namespace {

thread_local LoadFailure t_failure{};

// The loader's words for a missing file and for a missing symbol.
constexpr const char kCannotOpen[] = ": cannot open shared object file";
constexpr const char kUndefinedSymbol[] = "undefined symbol: ";

template <size_t N>
void CopyBounded(char (&destination)[N], const std::string& source)
{
    const size_t length = source.size() < N ? source.size() : N - 1;
    std::memcpy(destination, source.data(), length);
    destination[length] = '\0';
}

std::string RefusalText(const std::string& nativePath)
{
    char text[kLoadFailureTextSize];
    DescribeRecordRefusal(nativePath.c_str(), text, sizeof text);
    return text;
}

// Used when the loader was not asked: the platform layer's own words.
std::string DescribeCode(const std::string& nativePath, uint32_t code)
{
    switch (code) {
    case kErrorModuleNotFound: return nativePath + ": no such module file";
    case kErrorAccessDenied: return nativePath + ": permission denied";
    case kErrorBadExeFormat:
        // The file itself, or its record.
        if (RecordRefusal(nativePath.c_str()) != kErrorSuccess) return RefusalText(nativePath);
        return nativePath + ": not a shared object for this platform";
    case kErrorRevisionMismatch: return RefusalText(nativePath);
    default: return nativePath + ": load failed with error " + std::to_string(code);
    }
}

// "dep.dll: cannot open shared object file: ..." names a dependency unless
// the name is the module's own.
std::string MissingModule(const std::string& text, const std::string& nativePath)
{
    const size_t end = text.find(kCannotOpen);
    if (end == std::string::npos) return std::string();
    const std::string name = text.substr(0, end);
    const std::string requested = FileNamePart(nativePath.c_str());
    const std::string named = FileNamePart(name.c_str());
    return named == requested || named == requested + ".dll" ? std::string() : name;
}

// "...: undefined symbol: name, version V" names the symbol.
std::string MissingSymbol(const std::string& text)
{
    const size_t start = text.find(kUndefinedSymbol);
    if (start == std::string::npos) return std::string();
    const std::string rest = text.substr(start + sizeof kUndefinedSymbol - 1);
    return rest.substr(0, rest.find(','));
}

}  // namespace

void NoteLoadFailure(const char* path, uint32_t code, const char* loaderText)
{
    const std::string nativePath = ToNativePath(path);
    const std::string text = loaderText != nullptr ? loaderText : DescribeCode(nativePath, code);
    LoadFailure& failure = t_failure;
    ++failure.count;
    failure.code = code;
    CopyBounded(failure.path, path != nullptr ? path : "");
    CopyBounded(failure.text, text);
    CopyBounded(failure.missingModule, MissingModule(text, nativePath));
    CopyBounded(failure.missingSymbol, MissingSymbol(text));
}

bool GetLastLoadFailure(LoadFailure* failure)
{
    if (failure == nullptr) return false;
    *failure = t_failure;
    return failure->count != 0;
}

bool FindUnresolvedImport(const char* /*path*/, char* symbol, uint32_t size)
{
    if (symbol != nullptr && size > 0) symbol[0] = '\0';
    return false;
}

}  // namespace Platform
}  // namespace Orvik
