// The last failed load of each thread, with what dlerror() said about it.

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "platform/posix/load_failure_note.h"
#include "platform/posix/native_path.h"
#include "platform/posix/thread_slot.h"
#include "platform/module_record.h"

namespace Orvik {
namespace Platform {

namespace {

// Each thread's record, made at its first failed load and freed with the
// thread.
ThreadSlot& Records()
{
    static ThreadSlot slot(std::free);
    return slot;
}

// The calling thread's record; null when none was made, or none could be.
LoadFailure* ThreadRecord(bool create)
{
    auto* record = static_cast<LoadFailure*>(Records().Get());
    if (record == nullptr && create) {
        record = static_cast<LoadFailure*>(std::calloc(1, sizeof(LoadFailure)));
        if (record != nullptr && !Records().Set(record)) {
            std::free(record);
            record = nullptr;
        }
    }
    return record;
}

// The loader's words for a missing file and for a missing symbol.
constexpr const char kCannotOpen[] = ": cannot open shared object file";
constexpr const char kUndefinedSymbol[] = "undefined symbol: ";

template <size_t N>
void CopyBounded(char (&destination)[N], std::string_view source)
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
    // Without a record the failure is known by its last error alone.
    LoadFailure* failure = ThreadRecord(true);
    if (failure == nullptr) return;
    ++failure->count;
    failure->code = code;
    CopyBounded(failure->path, path != nullptr ? path : "");
    failure->text[0] = failure->missingModule[0] = failure->missingSymbol[0] = '\0';
    try {
        const std::string nativePath = ToNativePath(path);
        const std::string text = loaderText != nullptr ? loaderText : DescribeCode(nativePath, code);
        CopyBounded(failure->text, text);
        CopyBounded(failure->missingModule, MissingModule(text, nativePath));
        CopyBounded(failure->missingSymbol, MissingSymbol(text));
    } catch (const std::bad_alloc&) {
        // The loader's words are lost; the number and the path stay.
    }
}

bool GetLastLoadFailure(LoadFailure* failure)
{
    if (failure == nullptr) return false;
    const LoadFailure* record = ThreadRecord(false);
    if (record != nullptr) {
        *failure = *record;
    } else {
        std::memset(failure, 0, sizeof *failure);
    }
    return failure->count != 0;
}

bool FindUnresolvedImport(const char* /*path*/, char* symbol, uint32_t size)
{
    if (symbol != nullptr && size > 0) symbol[0] = '\0';
    return false;
}

}  // namespace Platform
}  // namespace Orvik
