#include "tools/catalog_reading.h"

#include <algorithm>

namespace Orvik {
namespace Tools {

namespace {

Platform::LoadFailure LastFailure()
{
    Platform::LoadFailure failure;
    Platform::GetLastLoadFailure(&failure);
    return failure;
}

}  // namespace

CatalogReading::CatalogReading(const std::string& registryName, const std::string& file)
    : catalog_(std::make_unique<CComponentClassInfoList>())
{
    catalog_->SetObserver(this);
    catalog_->LoadConfigFile(registryName.c_str(), file.c_str());
}

void CatalogReading::OnText(const char* text, uint32_t size)
{
    text_.assign(text, size);
    fileRead_ = true;
    lineStarts_.assign(1, 0);
    for (uint32_t i = 0; i < size; ++i) {
        const bool crlf = text[i] == '\r' && i + 1 < size && text[i + 1] == '\n';
        if ((text[i] == '\n' || text[i] == '\r') && !crlf) lineStarts_.push_back(i + 1);
    }
}

void CatalogReading::OnIgnoredLine(uint32_t offset, IgnoredLine why)
{
    ignoredLines_.push_back({LineAt(offset), LineText(offset), why});
}

void CatalogReading::OnKey(uint32_t offset, ConfigKey key, const char* value)
{
    keys_.push_back({LineAt(offset), key, value});
}

void CatalogReading::OnPreload(const char* path, PreloadOutcome outcome, uint32_t error)
{
    const int line = keys_.empty() ? 0 : keys_.back().line;
    preloads_.push_back({line, path, outcome, error,
                         outcome == PreloadOutcome::Failed ? LastFailure() : Platform::LoadFailure{}});
}

void CatalogReading::OnScan(const char* name, const char* path, ScanOutcome outcome, uint32_t /*error*/)
{
    // A checker loads each module again and hears the loader itself.
    scans_.push_back({name, path, outcome});
}

int CatalogReading::LineAt(uint32_t offset) const
{
    return static_cast<int>(std::upper_bound(lineStarts_.begin(), lineStarts_.end(), offset) - lineStarts_.begin());
}

std::string CatalogReading::LineText(uint32_t offset) const
{
    if (offset >= text_.size()) return std::string();
    const size_t end = text_.find_first_of("\r\n", offset);
    return text_.substr(offset, end == std::string::npos ? std::string::npos : end - offset);
}

const char* IgnoredName(IgnoredLine why)
{
    switch (why) {
    case IgnoredLine::NoKeyOrSection: return "no-key-or-section";
    case IgnoredLine::EmptyKey: return "empty-key";
    case IgnoredLine::UnknownKey: return "unknown-key";
    case IgnoredLine::UnknownSection: return "unknown-section";
    case IgnoredLine::ValueTooLong: return "value-too-long";
    case IgnoredLine::LogKeyOutsideSection: return "log-key-outside-section";
    }
    return "";
}

const char* IgnoredText(IgnoredLine why)
{
    switch (why) {
    case IgnoredLine::NoKeyOrSection: return "neither \"=\" nor \"[\"";
    case IgnoredLine::EmptyKey: return "no key before \"=\"";
    case IgnoredLine::UnknownKey: return "unknown key";
    case IgnoredLine::UnknownSection: return "not a section the catalog knows; the previous section goes on";
    case IgnoredLine::ValueTooLong: return "value too long";
    case IgnoredLine::LogKeyOutsideSection: return "log key outside [logdefault] and numbered sections";
    }
    return "";
}

const char* KeyName(ConfigKey key)
{
    switch (key) {
    case ConfigKey::None: return "";
    case ConfigKey::OutputDebugString: return "outputdebugstring";
    case ConfigKey::WriteToLogFile: return "writetologfile";
    case ConfigKey::DllPath: return "dllpath";
    case ConfigKey::Dll: return "dll";
    case ConfigKey::NotUseDefaultDllPath: return "notusedefaultdllpath";
    case ConfigKey::DefaultDll: return "defaultdll";
    case ConfigKey::Dlls: return "dlls";
    case ConfigKey::Preload: return "preload";
    case ConfigKey::MaxFileCount: return "MaxFileCount";
    case ConfigKey::MaxFileSize: return "MaxFileSize";
    }
    return "";
}

const char* PreloadName(PreloadOutcome outcome)
{
    switch (outcome) {
    case PreloadOutcome::Loaded: return "loaded";
    case PreloadOutcome::AlreadyLoaded: return "already-loaded";
    case PreloadOutcome::Failed: return "failed";
    }
    return "";
}

const char* ScanName(ScanOutcome outcome)
{
    switch (outcome) {
    case ScanOutcome::Loaded: return "loaded";
    case ScanOutcome::Failed: return "failed";
    case ScanOutcome::NameTooLong: return "name-too-long";
    case ScanOutcome::ListCut: return "list-cut";
    }
    return "";
}

}  // namespace Tools
}  // namespace Orvik
