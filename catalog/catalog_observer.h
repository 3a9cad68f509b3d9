#pragma once
// What a catalog tells a tool while it reads its file and scans its list.
// A line is named by the byte offset of its start in the file as read.

#include <cstdint>

namespace Orvik {

enum class ConfigKey;

// Why the parser passed over a line.
enum class IgnoredLine {
    NoKeyOrSection,        // neither "=" nor "[" (comments and stray text)
    EmptyKey,              // nothing before "="
    UnknownKey,            // a key the catalog does not know
    UnknownSection,        // a header naming no section it knows: the previous section goes on
    ValueTooLong,          // the value does not fit its field
    LogKeyOutsideSection,  // a log key outside [logdefault] and the numbered sections
};

enum class PreloadOutcome { Loaded, AlreadyLoaded, Failed };

enum class ScanOutcome {
    Loaded,       // the module loaded; its ids are recorded
    Failed,       // it did not load
    NameTooLong,  // the item was skipped
    ListCut,      // an empty item ended the scan; name holds what was left unscanned
};

class CatalogObserver {
public:
    // The file as read, before the parser cuts it into lines.
    virtual void OnText(const char* text, uint32_t size) = 0;
    virtual void OnIgnoredLine(uint32_t offset, IgnoredLine why) = 0;
    // A known key, before it takes effect (a "preload" reports its modules
    // right after).
    virtual void OnKey(uint32_t offset, ConfigKey key, const char* value) = 0;
    // path is the joined path the catalog loaded or looked for; error is the
    // load's last error when it failed, else 0.
    virtual void OnPreload(const char* path, PreloadOutcome outcome, uint32_t error) = 0;
    virtual void OnScan(const char* name, const char* path, ScanOutcome outcome, uint32_t error) = 0;

protected:
    ~CatalogObserver() = default;
};

}  // namespace Orvik
