#pragma once
// What a module file is to this process: whether it loads (and if not, why,
// in the loader's words), which of the seven exports it has, what else it
// exports, and the ids its GetComponentIDs reports.

#include <string>
#include <vector>

#include "orvik/module/component.h"
#include "orvik/platform/load_failure.h"
#include "platform/module_record.h"

namespace Orvik {
namespace Tools {

enum class LoadProblem {
    None,
    FileMissing,
    DependencyMissing,
    SymbolMissing,
    NotAModule,  // not a module for this platform
    AccessDenied,
    OtherContract,      // its record names a contract this framework does not serve
    OtherArchitecture,  // its record names another architecture
    Other,
};

struct ExportPresence {
    const char* name;
    bool present;
};

struct ModuleProbe {
    std::string path;
    // Read from the file before it is loaded, so known for one that fails.
    Platform::RecordState recordState = Platform::RecordState::Unreadable;
    Platform::ModuleRecord record{};
    bool exists = false;     // as a file
    bool directory = false;  // a directory stands where the file should
    bool loads = false;
    LoadProblem problem = LoadProblem::None;
    Platform::LoadFailure failure{};  // when it does not load
    // A loader that binds a missing procedure to a stub loads the module
    // anyway; its import table names the procedure.
    std::string unresolvedImport;
    std::vector<ExportPresence> exports;  // the seven, in ordinal order, when it loads
    // The file's other exports: a module built without the export list
    // exports its runtime and everything else it defines.
    std::vector<std::string> extraExports;
    bool reportsIds = false;              // has GetComponentIDs
    int32_t idCount = 0;                  // what GetComponentIDs returned
    std::vector<ComponentId> ids;         // the first 512 at most, as the scan reads them
};

// Loads path (framework form), looks and unloads it again.
ModuleProbe ProbeModule(const std::string& path);

bool HasExport(const ModuleProbe& probe, const char* name);
bool ProvidesId(const ModuleProbe& probe, ComponentId id);

// Names for JSON and words for people ("dependency missing: libx.dll").
const char* ProblemName(LoadProblem problem);
std::string DescribeProblem(const ModuleProbe& probe);

// The module record in words: "framework 0.1.0, contract 0.1, x86_64,
// Release", "none", ...
std::string RecordText(const ModuleProbe& probe);

// The missing symbol, from the loader or the import table; empty when none.
std::string MissingSymbol(const ModuleProbe& probe);

// How to build the module right, when it misses the framework's runtime
// (a framework symbol or one of the required exports) or exports more than
// the seven; empty otherwise. required: the exports its use calls for.
std::string BuildAdvice(const ModuleProbe& probe, const std::vector<std::string>& required);

}  // namespace Tools
}  // namespace Orvik
