// Reading and parsing a catalog's configuration file: settings of the
// catalog and the records of the numbered sections.

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>

#include "bootstrap/root_path.h"
#include "catalog/component_class_info_list.h"
#include "module/log_file_info.h"
#include "platform/file_system.h"
#include "platform/multibyte.h"

namespace Orvik {

namespace {

constexpr int32_t kDefaultMaxFileCount = 6;
constexpr uint32_t kDefaultMaxFileSize = 40u << 20;
// The file gives the size limit in mebibytes.
constexpr int kMebibyteShift = 20;
// "dlls" is kept with a bound of 259 bytes, terminator included.
constexpr size_t kMaxDllListLength = Platform::kMaxPath - 2;
constexpr uint32_t kAllLogBits = LOG_E | LOG_T | LOG_V | LOG_D | LOG_W | LOG_C;

// Compared in this order, without regard to case; the index is the ConfigKey.
constexpr const char* kKeys[] = {
    "outputdebugstring", "writetologfile", "dllpath",      "dll",          "notusedefaultdllpath",
    "defaultdll",        "dlls",           "preload",      "MaxFileCount", "MaxFileSize",
};

// The first c in text that is a character of its own, or null.
char* Find(char* text, char c)
{
    char* found = Platform::FindCharacter(text, static_cast<unsigned char>(c));
    return found != nullptr && *found == c ? found : nullptr;
}

bool IsOneOf(char c, const char* set) { return c != '\0' && std::strchr(set, c) != nullptr; }

// Cuts the characters of set from both ends of text in place and returns
// the new start. Bytewise is safe: no double-byte code page has a trail
// byte below 0x40.
char* Trim(char* text, const char* set)
{
    while (IsOneOf(*text, set)) ++text;
    char* end = text + std::strlen(text);
    while (end > text && IsOneOf(end[-1], set)) --end;
    *end = '\0';
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
    ReadConfigText(configFilePath);

    SectionKind sectionKind = SectionKind::None;
    ComponentId componentId = 0;
    ComponentId previousId = 0;
    // Keys before the first numbered section land here too, and the first
    // section then continues this record.
    ComponentClassInfo record{};
    char value[Platform::kMaxPath] = {};
    while (char* line = GetNextLine()) {
        const ConfigKey key = ParseLine(line, value, sizeof value, &componentId, &sectionKind);
        if (previousId != componentId) {
            if (previousId != 0) {
                configRecords[previousId] = record;
                record = ComponentClassInfo{};
            }
            previousId = componentId;
        }
        ApplyKey(key, value, sectionKind, &record);
    }
    if (componentId != 0) configRecords[componentId] = record;
    return 1;
}

void CComponentClassInfoList::ReadConfigText(const char* path)
{
    const Platform::FileHandle file = Platform::OpenFileForReading(path);
    if (file == Platform::InvalidFileHandle()) return;
    text.reset();
    textSize = 0;
    cursor = nullptr;
    const uint32_t size = Platform::GetFileSizeLow(file);
    // A buffer that cannot be had reads as an empty file: no exception may
    // leave the module.
    text.reset(new (std::nothrow) char[size_t{size} + 1]());
    if (text) {
        textSize = size;
        uint32_t bytesRead = 0;
        if (Platform::ReadFromFile(file, text.get(), textSize, &bytesRead) && bytesRead == textSize) {
            cursor = text.get();
        }
    }
    Platform::CloseFile(file);
}

char* CComponentClassInfoList::GetNextLine()
{
    if (!text || cursor == nullptr) return nullptr;
    char* const end = text.get() + textSize;
    if (cursor < text.get() || cursor >= end) return nullptr;
    char* const line = cursor;
    char* next = line;
    while (next < end && *next != '\r' && *next != '\n') ++next;
    if (next < end) {
        *next++ = '\0';
        while (next < end && (*next == '\r' || *next == '\n')) ++next;
    }
    cursor = next;
    return line;
}

ConfigKey CComponentClassInfoList::ParseLine(char* line, char* value, int valueSize, ComponentId* componentId,
                                             SectionKind* sectionKind)
{
    // '#' marks no comment: lines of blanks and '#' hold neither '=' nor
    // '[' and fall through like any other text.
    if (Find(line, '=') != nullptr) return ParseKeyValue(line, value, valueSize);
    if (Find(line, '[') != nullptr) ParseSection(line, componentId, sectionKind);
    return ConfigKey::None;
}

void CComponentClassInfoList::ParseSection(char* line, ComponentId* componentId, SectionKind* sectionKind)
{
    Platform::LowerCaseInPlace(line);
    if (Platform::FindSubstring(line, "[logdefault]") != nullptr) {
        *sectionKind = SectionKind::LogDefault;
        return;
    }
    if (Platform::FindSubstring(line, "[defaultvalue]") != nullptr) {
        *sectionKind = SectionKind::DefaultValue;
        return;
    }
    char* const open = Find(line, '[');
    char* const close = Find(line, ']');
    if (open == nullptr || close == nullptr) return;
    *close = '\0';
    // A ']' before the '[' or right after it names no section.
    if (close - open < 2) return;
    // Anything else than a non-zero number continues the previous section.
    const int number = std::atoi(open + 1);
    if (number == 0) return;
    *sectionKind = SectionKind::Component;
    *componentId = static_cast<ComponentId>(number);
}

ConfigKey CComponentClassInfoList::ParseKeyValue(char* line, char* value, int valueSize)
{
    char* const equals = Find(line, '=');
    if (equals == nullptr) return ConfigKey::None;
    *equals = '\0';
    // An empty key, as in "=x", matches none.
    const char* const key = Trim(line, " \t");
    ConfigKey found = ConfigKey::None;
    for (size_t i = 0; i < std::size(kKeys); ++i) {
        if (Platform::CompareIgnoringCase(key, kKeys[i]) == 0) {
            found = static_cast<ConfigKey>(i);
            break;
        }
    }
    // A value that does not fit is refused with its line: a cut path or
    // list would name something else than the file says.
    if (!CopyString(value, valueSize, Trim(equals + 1, " \t\""))) return ConfigKey::None;
    return found;
}

void CComponentClassInfoList::SetLogFlags(const char* value, SectionKind sectionKind, int which,
                                          ComponentClassInfo* record)
{
    uint32_t* mask = nullptr;
    if (sectionKind == SectionKind::LogDefault) {
        mask = which == 1 ? &defaultDebugOutputMask : which == 2 ? &defaultLogFileMask : nullptr;
    } else if (sectionKind == SectionKind::Component && record != nullptr) {
        mask = which == 1 ? &record->debugOutputMask : which == 2 ? &record->logFileMask : nullptr;
        record->hasLogSetting = 1;
    }
    if (mask == nullptr) return;
    uint32_t letters = 0;
    for (const char* c = value; *c != '\0'; ++c) {
        // A double-byte character is no letter, whatever its trail byte.
        if (Platform::IsLeadByte(static_cast<unsigned char>(*c))) {
            if (c[1] == '\0') break;
            ++c;
            continue;
        }
        letters |= LogBit(*c);
    }
    *mask = (*mask & ~kAllLogBits) | letters;
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
        CopyString(record->dll, sizeof record->dll, value);
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
        if (std::strlen(value) > kMaxDllListLength) break;
        CopyString(dllList, sizeof dllList, value);
        if (dllList[0] != '\0') hasDllList = 1;
        break;
    case ConfigKey::Preload:
        PreLoadDependDllList(value);
        break;
    case ConfigKey::MaxFileCount:
        maxFileCount = std::atoi(value);
        break;
    case ConfigKey::MaxFileSize:
        maxFileSize = static_cast<uint32_t>(std::atoi(value)) << kMebibyteShift;
        break;
    }
}

}  // namespace Orvik
