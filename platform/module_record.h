#pragma once
// The record every module built with the framework carries in a section of
// its own: the framework and the contract it was built against, the
// architecture and the build. It is read from the file, without loading it,
// so that a module the framework cannot serve is refused before any of its
// code runs, and so that tools can show it for a file that does not load.

#include <cstddef>
#include <cstdint>

#include "orvik/platform/platform_api.h"

// The section's name: at most 8 characters, as an image section's name is.
#define ORVIK_MODULE_RECORD_SECTION ".orvik"
#define ORVIK_MODULE_RECORD_MAGIC {'O', 'r', 'v', 'i', 'k', 'R', 'e', 'c'}

// The architecture code is built for, by the name records give it.
#if defined(__x86_64__) || defined(_M_X64)
#define ORVIK_RECORD_ARCHITECTURE "x86_64"
#elif defined(__i386__) || defined(_M_IX86)
#define ORVIK_RECORD_ARCHITECTURE "i686"
#elif defined(__aarch64__) || defined(_M_ARM64)
#define ORVIK_RECORD_ARCHITECTURE "aarch64"
#elif defined(__arm__) || defined(_M_ARM)
#define ORVIK_RECORD_ARCHITECTURE "arm"
#else
#define ORVIK_RECORD_ARCHITECTURE "other"
#endif

namespace Orvik {
namespace Platform {

constexpr char kModuleRecordMagic[8] = ORVIK_MODULE_RECORD_MAGIC;
// Later layouts only append fields: a reader takes the fields it knows from
// a record of a later layout.
constexpr uint32_t kModuleRecordLayout = 1;

// As stored, in the byte order of the module (little-endian on every
// architecture the framework is built for); fixed-size fields, texts
// terminated within their field.
struct ModuleRecord {
    char magic[8];
    uint32_t layout;
    uint32_t size;  // of the stored record, this layout's or a later one's
    uint16_t frameworkMajor;
    uint16_t frameworkMinor;
    uint16_t frameworkPatch;
    uint16_t contractMajor;
    uint16_t contractMinor;
    uint16_t reserved;
    char architecture[16];  // "x86_64", "i686", ...
    char buildType[20];     // "Release", "Debug", ...
};
static_assert(sizeof(ModuleRecord) == 64, "the stored layout");

constexpr const char* ThisArchitecture() { return ORVIK_RECORD_ARCHITECTURE; }

enum class RecordState {
    Found,
    Missing,     // a module without a record
    Damaged,     // a record that cannot be right: a damaged module file
    Unreadable,  // no file that can be read, or no module image this platform reads
};

// The record of the module file at path (the framework's form of a path).
ORVIK_PLATFORM_API RecordState ReadModuleRecord(const char* path, ModuleRecord* record);

enum class RecordFit { Served, OtherContract, OtherArchitecture };

// Whether this framework can serve a module with that record.
ORVIK_PLATFORM_API RecordFit FitOfRecord(const ModuleRecord& record);

// Why a module with that record is refused, or what it holds when it is not,
// as one line of text.
ORVIK_PLATFORM_API void DescribeRecordFit(const ModuleRecord& record, char* text, size_t size);

// Validates a record section of size bytes, of which bytes holds the first
// (all of them, or as many as a ModuleRecord has); Missing when they hold no
// record (another program's section of that name).
RecordState DecodeModuleRecord(const void* bytes, size_t size, ModuleRecord* record);

// What loading the file at path (native form) must fail with because of its
// record: kErrorSuccess when it has none or one this framework serves.
uint32_t RecordRefusal(const char* nativePath);
// The same for a record already read, in the state its reading left.
uint32_t RefusalOfRecord(RecordState state, const ModuleRecord& record);

// The framework's words for such a refusal, for the load failure's text.
void DescribeRecordRefusal(const char* nativePath, char* text, size_t size);

// The record of a native path, as ReadModuleRecord. Each backend reads its
// own format and defines both.
RecordState ReadNativeModuleRecord(const char* nativePath, ModuleRecord* record);

}  // namespace Platform
}  // namespace Orvik
