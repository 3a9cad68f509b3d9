#pragma once
// A catalog read from its file exactly as the factory reads one, with what
// its observer heard: the lines the parser ignored, the keys it took, the
// modules it preloaded and, once scanned, the modules of its list.

#include <memory>
#include <string>
#include <vector>

#include "catalog/component_class_info_list.h"
#include "orvik/platform/load_failure.h"

namespace Orvik {
namespace Tools {

struct IgnoredLineEntry {
    int line;
    std::string text;
    IgnoredLine why;
};

struct KeyEntry {
    int line;
    ConfigKey key;
    std::string value;
};

struct PreloadEntry {
    int line;  // of the "preload" key
    std::string path;
    PreloadOutcome outcome;
    uint32_t error;
    Platform::LoadFailure failure;  // when it failed
};

struct ScanEntry {
    std::string name;
    std::string path;  // joined as the scan loads it
    ScanOutcome outcome;
};

class CatalogReading : private CatalogObserver {
public:
    // Reads file with registryName as the configuration name.
    CatalogReading(const std::string& registryName, const std::string& file);
    CatalogReading(const CatalogReading&) = delete;
    CatalogReading& operator=(const CatalogReading&) = delete;

    CComponentClassInfoList& catalog() { return *catalog_; }
    bool fileRead() const { return fileRead_; }
    const std::vector<IgnoredLineEntry>& ignoredLines() const { return ignoredLines_; }
    const std::vector<KeyEntry>& keys() const { return keys_; }
    const std::vector<PreloadEntry>& preloads() const { return preloads_; }
    const std::vector<ScanEntry>& scans() const { return scans_; }

private:
    void OnText(const char* text, uint32_t size) override;
    void OnIgnoredLine(uint32_t offset, IgnoredLine why) override;
    void OnKey(uint32_t offset, ConfigKey key, const char* value) override;
    void OnPreload(const char* path, PreloadOutcome outcome, uint32_t error) override;
    void OnScan(const char* name, const char* path, ScanOutcome outcome, uint32_t error) override;

    // Line numbers count LF, CR LF and a lone CR as one line end each.
    int LineAt(uint32_t offset) const;
    std::string LineText(uint32_t offset) const;

    // The file as read, untouched by the parser, and where its lines start.
    std::string text_;
    std::vector<uint32_t> lineStarts_;
    bool fileRead_ = false;
    std::vector<IgnoredLineEntry> ignoredLines_;
    std::vector<KeyEntry> keys_;
    std::vector<PreloadEntry> preloads_;
    std::vector<ScanEntry> scans_;
    // Declared last, so that it goes first, before what it reports to.
    std::unique_ptr<CComponentClassInfoList> catalog_;
};

// Names for JSON and words for people.
const char* IgnoredName(IgnoredLine why);
const char* IgnoredText(IgnoredLine why);
const char* KeyName(ConfigKey key);
const char* PreloadName(PreloadOutcome outcome);
const char* ScanName(ScanOutcome outcome);

}  // namespace Tools
}  // namespace Orvik
