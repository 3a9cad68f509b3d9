// Reading and parsing a catalog's configuration file: settings of the
// catalog and the records of the numbered sections.

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <new>
#include <utility>
#include <string_view>

#include "orvik/bootstrap/root_path.h"
#include "catalog/component_class_info_list.h"
#include "catalog/config_text.h"
#include "orvik/module/log_file_info.h"
#include "orvik/platform/file_system.h"
#include "platform/multibyte.h"
#include "util/number_text.h"
#include "platform/profile.h"

namespace Orvik {

namespace {

constexpr int32_t kDefaultMaxFileCount = 6;
constexpr uint32_t kDefaultMaxFileSize = 40u << 20;
// The file gives the size limit in mebibytes.
constexpr int kMebibyteShift = 20;
// A value holds at most 259 characters; "dlls" is kept with a bound of 259
// bytes, terminator included.
constexpr size_t kMaxValueLength = Platform::kMaxPath - 1;
constexpr size_t kMaxDllListLength = Platform::kMaxPath - 2;
constexpr uint32_t kAllLogBits = LOG_E | LOG_T | LOG_V | LOG_D | LOG_W | LOG_C;
// Bytes of text per section that the records are first given room for.
constexpr uint32_t kSectionSpacing = 32;

// Matched without regard to case ("MaxFileCount" and "MaxFileSize" as the
// file format names them); the index is the ConfigKey.
constexpr std::string_view kKeys[] = {
    "outputdebugstring", "writetologfile", "dllpath",      "dll",         "notusedefaultdllpath",
    "defaultdll",        "dlls",           "preload",      "maxfilecount", "maxfilesize",
};
constexpr size_t kLongestKey = [] {
    size_t longest = 0;
    for (const std::string_view key : kKeys) longest = std::max(longest, key.size());
    return longest;
}();

// The keys of each length, at most two ("dllpath" and "preload" share one),
// so that a line's key is compared with those that can be it.
struct KeysOfLength {
    int8_t index[2] = {-1, -1};
};
constexpr std::array<KeysOfLength, kLongestKey + 1> kKeysByLength = [] {
    std::array<KeysOfLength, kLongestKey + 1> byLength{};
    for (size_t i = 0; i < std::size(kKeys); ++i) {
        KeysOfLength& keys = byLength[kKeys[i].size()];
        keys.index[keys.index[0] < 0 ? 0 : 1] = static_cast<int8_t>(i);
    }
    return byLength;
}();

ConfigKey FindKey(const char* key, size_t length)
{
    if (length > kLongestKey) return ConfigKey::None;
    for (const int8_t index : kKeysByLength[length].index) {
        if (index >= 0 && ConfigText::SameKey(key, length, kKeys[index])) return static_cast<ConfigKey>(index);
    }
    return ConfigKey::None;
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }
bool IsBlankOrQuote(char c) { return c == ' ' || c == '\t' || c == '"'; }

// Cuts the characters that cut says so from both ends of [text, end) in
// place and returns the new start; length receives what is left. Bytewise
// is safe: no double-byte code page has a trail byte below 0x40.
template <class Predicate>
char* Trim(char* text, char* end, Predicate cut, size_t* length)
{
    while (text < end && cut(*text)) ++text;
    while (end > text && cut(end[-1])) --end;
    *end = '\0';
    *length = static_cast<size_t>(end - text);
    return text;
}

uint32_t LogBit(char letter)
{
    switch (letter) {
    case 'E': case 'e': return LOG_E;
    case 'T': case 't': return LOG_T;
    case 'V': case 'v': return LOG_V;
    case 'D': case 'd': return LOG_D;
    case 'W': case 'w': return LOG_W;
    case 'C': case 'c': return LOG_C;
    default: return 0;
    }
}

}  // namespace

CComponentClassInfoList::CComponentClassInfoList()
    : configFilePath{},
      registryPath{},
      textSize(0),
      cursor(nullptr),
      dllListScanned(0),
      dllList{},
      failedDlls{},
      hasDllList(0),
      defaultDebugOutputMask(0),
      defaultLogFileMask(0),
      maxFileCount(kDefaultMaxFileCount),
      maxFileSize(kDefaultMaxFileSize),
      dllPath{},
      defaultDllPath{},
      defaultDllModule(nullptr)
{
}

const char* CComponentClassInfoList::GetBaseDirectory() const { return GetRootPath(); }

uint32_t CComponentClassInfoList::LoadConfigFile(const char* registryName, const char* configFile)
{
    CopyString(registryPath, sizeof registryPath, registryName);
    CopyString(configFilePath, sizeof configFilePath, configFile);
    GetParentDirectory(configFilePath, dllPath, sizeof dllPath);
    // The redirect lookup may have read this very file already.
    if (textFile_ != configFilePath) ReadConfigText(configFilePath);
    textFile_.clear();
    leadBytes_ = ConfigText::HasLeadBytes();
    // Room for a section every 32 bytes, as files seldom have more; the
    // records grow beyond that if need be, and without it if it cannot be had.
    try {
        configRecords.Reserve(textSize / kSectionSpacing);
    } catch (const std::bad_alloc&) {
    }
    if (observer != nullptr && cursor != nullptr) observer->OnText(text.get(), textSize);

    SectionKind sectionKind = SectionKind::None;
    ComponentId componentId = 0;
    ComponentId previousId = 0;
    // Keys before the first numbered section land here too, and the first
    // section then continues this record.
    ComponentClassInfo record{};
    size_t length = 0;
    ConfigText::LineMarks marks{};
    while (char* line = GetNextLine(&length, &marks)) {
        parsedLine = line;
        const char* value = "";
        const ConfigKey key = ParseLine(line, length, marks, &value, &componentId, &sectionKind);
        if (previousId != componentId) {
            if (previousId != 0) {
                configRecords.Append(previousId, record);
                record = ComponentClassInfo{};
            }
            previousId = componentId;
        }
        NoteKey(key, value);
        ApplyKey(key, value, sectionKind, &record);
    }
    parsedLine = nullptr;
    if (componentId != 0) configRecords.Append(componentId, record);
    configRecords.Finish();
    leadBytes_ = true;
    return 1;
}

void CComponentClassInfoList::ReadRedirectPath(const char* file, char* value, int size)
{
    ReadConfigText(file);
    Platform::ReadProfileValueFromText("Redirect", "Path", nullptr, value, static_cast<uint32_t>(size), file,
                                       cursor != nullptr ? text.get() : nullptr, textSize);
}

void CComponentClassInfoList::ReadConfigText(const char* path)
{
    // An earlier text goes in any case: the parse sees this file or nothing.
    text.reset();
    textSize = 0;
    cursor = nullptr;
    textFile_ = path != nullptr ? path : "";
    const Platform::UniqueFile file(Platform::OpenFileForReading(path));
    if (!file) return;
    // All bits set with an error is no size: the file could not be asked,
    // and reads as one that could not be read.
    Platform::SetLastErrorCode(Platform::kErrorSuccess);
    const uint32_t size = Platform::GetFileSizeLow(file.get());
    if (size == ~uint32_t{0} && Platform::GetLastErrorCode() != Platform::kErrorSuccess) return;
    // A buffer that cannot be had reads as an empty file: no exception may
    // leave the module. Its bytes are those read or, when the read falls
    // short, never looked at: only the terminator needs setting.
    text.reset(new (std::nothrow) char[size_t{size} + 1]);
    if (text) {
        text[size] = '\0';
        textSize = size;
        uint32_t bytesRead = 0;
        if (Platform::ReadFromFile(file.get(), text.get(), textSize, &bytesRead) && bytesRead == textSize) {
            cursor = text.get();
        }
    }
}

inline char* CComponentClassInfoList::GetNextLine(size_t* length, ConfigText::LineMarks* marks)
{
    if (!text || cursor == nullptr) return nullptr;
    char* const end = text.get() + textSize;
    if (cursor < text.get() || cursor >= end) return nullptr;
    char* const line = cursor;
    // A zero byte inside the text ends no line, only the line's text. The
    // line is sifted before it is terminated: reading bytes right after one
    // among them was written would wait for the write.
    char* next = ConfigText::ScanLine(line, end, length, marks);
    if (next < end) {
        *next++ = '\0';
        while (next < end && (*next == '\r' || *next == '\n')) ++next;
    }
    // Under a code page with lead bytes a mark is a character of its own,
    // which the platform finds in the terminated line.
    if (leadBytes_) {
        char* const equals = ConfigText::Find(line, *length, '=', true);
        char* const open = equals == nullptr ? ConfigText::Find(line, *length, '[', true) : nullptr;
        *marks = ConfigText::LineMarks{equals, open};
    }
    cursor = next;
    return line;
}

ConfigKey CComponentClassInfoList::ParseLine(char* line, size_t length, const ConfigText::LineMarks& marks,
                                             const char** value, ComponentId* componentId, SectionKind* sectionKind)
{
    // '#' marks no comment: lines of blanks and '#' hold neither '=' nor
    // '[' and fall through like any other text.
    if (marks.equals != nullptr) return ParseKeyValue(line, marks.equals, line + length, value);
    if (marks.open != nullptr) {
        ParseSection(line, length, marks.open, componentId, sectionKind);
    } else {
        NoteIgnoredLine(IgnoredLine::NoKeyOrSection);
    }
    return ConfigKey::None;
}

void CComponentClassInfoList::ParseSection(char* line, size_t length, char* open, ComponentId* componentId,
                                           SectionKind* sectionKind)
{
    static constexpr std::string_view kLogDefault = "[logdefault]";
    static constexpr std::string_view kDefaultValue = "[defaultvalue]";
    // A line shorter than a name cannot hold it, and lower-casing a single-
    // byte line serves to find the names only.
    if (length >= kLogDefault.size() || leadBytes_) {
        ConfigText::LowerCase(line, length, leadBytes_);
        if (length >= kLogDefault.size() && ConfigText::Contains(line, kLogDefault.data(), leadBytes_)) {
            *sectionKind = SectionKind::LogDefault;
            return;
        }
        if (length >= kDefaultValue.size() && ConfigText::Contains(line, kDefaultValue.data(), leadBytes_)) {
            *sectionKind = SectionKind::DefaultValue;
            return;
        }
    }
    char* const close = ConfigText::Find(line, length, ']', leadBytes_);
    if (close == nullptr) return NoteIgnoredLine(IgnoredLine::UnknownSection);
    *close = '\0';
    // A ']' before the '[' or right after it names no section.
    if (close - open < 2) return NoteIgnoredLine(IgnoredLine::UnknownSection);
    // Anything else than a non-zero number continues the previous section.
    // One too large for 32 bits names the id 0x7FFFFFFF (or 0x80000000).
    const int32_t number = ReadLeadingNumber(open + 1);
    if (number == 0) return NoteIgnoredLine(IgnoredLine::UnknownSection);
    *sectionKind = SectionKind::Component;
    *componentId = static_cast<ComponentId>(number);
}

ConfigKey CComponentClassInfoList::ParseKeyValue(char* line, char* equals, char* end, const char** value)
{
    // An empty key, as in "=x", matches none.
    size_t keyLength = 0;
    const char* const key = Trim(line, equals, IsBlank, &keyLength);
    const ConfigKey found = FindKey(key, keyLength);
    // A value that does not fit is refused with its line: a cut path or
    // list would name something else than the file says.
    size_t valueLength = 0;
    const char* const trimmed = Trim(equals + 1, end, IsBlankOrQuote, &valueLength);
    if (valueLength > kMaxValueLength) {
        NoteIgnoredLine(IgnoredLine::ValueTooLong);
        return ConfigKey::None;
    }
    *value = trimmed;
    if (found == ConfigKey::None) NoteIgnoredLine(keyLength == 0 ? IgnoredLine::EmptyKey : IgnoredLine::UnknownKey);
    return found;
}

void CComponentClassInfoList::SetLogFlags(const char* value, SectionKind sectionKind, int which,
                                          ComponentClassInfo* record)
{
    const bool logDefault = sectionKind == SectionKind::LogDefault;
    const bool component = sectionKind == SectionKind::Component && record != nullptr;
    if (component) record->hasLogSetting = 1;
    if ((!logDefault && !component) || (which != 1 && which != 2)) {
        return NoteIgnoredLine(IgnoredLine::LogKeyOutsideSection);
    }
    uint32_t letters = 0;
    for (const char* c = value; *c != '\0'; ++c) {
        // A double-byte character is no letter, whatever its trail byte.
        if (leadBytes_ && Platform::IsLeadByte(static_cast<unsigned char>(*c))) {
            if (c[1] == '\0') break;
            ++c;
            continue;
        }
        letters |= LogBit(*c);
    }
    if (logDefault) {
        uint32_t& mask = which == 1 ? defaultDebugOutputMask : defaultLogFileMask;
        mask = (mask & ~kAllLogBits) | letters;
    } else {
        // A record's mask holds the log bits and nothing else.
        (which == 1 ? record->debugOutputMask : record->logFileMask) = static_cast<uint8_t>(letters);
    }
}

void CComponentClassInfoList::ApplyKey(ConfigKey key, const char* value, SectionKind sectionKind,
                                       ComponentClassInfo* record)
{
    switch (key) {
    case ConfigKey::None:
        break;
    case ConfigKey::OutputDebugString:
        SetLogFlags(value, sectionKind, 1, record);
        break;
    case ConfigKey::WriteToLogFile:
        SetLogFlags(value, sectionKind, 2, record);
        break;
    case ConfigKey::DllPath:
        if (IsRelativePath(value)) {
            JoinToProfileDirectory(configFilePath, value, dllPath, sizeof dllPath);
        } else {
            CopyString(dllPath, sizeof dllPath, value);
        }
        break;
    case ConfigKey::Dll:
        // The value stays where it is, in the text the catalog keeps.
        record->dll = static_cast<uint32_t>(value - text.get());
        break;
    case ConfigKey::NotUseDefaultDllPath:
        record->notUseDefaultDllPath = value[0] == '1' ? 1 : 0;
        break;
    case ConfigKey::DefaultDll:
        if (IsRelativePath(value)) {
            // A join that does not fit stays, cut to 259 characters.
            JoinPath(dllPath, value, defaultDllPath, sizeof defaultDllPath);
        } else {
            CopyString(defaultDllPath, sizeof defaultDllPath, value);
        }
        break;
    case ConfigKey::Dlls:
        // A longer list is refused whole, like any value that does not fit.
        if (std::strlen(value) > kMaxDllListLength) {
            NoteIgnoredLine(IgnoredLine::ValueTooLong);
            break;
        }
        CopyString(dllList, sizeof dllList, value);
        if (dllList[0] != '\0') hasDllList = 1;
        break;
    case ConfigKey::Preload:
        PreLoadDependDllList(value);
        break;
    case ConfigKey::MaxFileCount:
        // Beyond 32 bits the count clamps to 2147483647 (or -2147483648).
        maxFileCount = ReadLeadingNumber(value);
        break;
    case ConfigKey::MaxFileSize:
        // Beyond 32 bits the count clamps to 2147483647 (or -2147483648),
        // and the shift makes that 0xFFF00000 bytes (or 0).
        maxFileSize = static_cast<uint32_t>(ReadLeadingNumber(value)) << kMebibyteShift;
        break;
    }
}

}  // namespace Orvik
