#include "tools/module_probe.h"

#include <algorithm>

#include "orvik/module/module_exports.h"
#include "orvik/platform/file_system.h"
#include "orvik/platform/load_failure.h"
#include "orvik/platform/module_loader.h"
#include "platform/export_names.h"
#include "tools/path_kind.h"
#include "tools/symbol_names.h"

namespace Orvik {
namespace Tools {

namespace {

// As many ids as the catalog's scan reads from one module.
constexpr int32_t kMaxIds = 512;

#define ORVIK_EXPORT_NAME(ordinal, name, result, parameters) #name,
constexpr const char* kExportNames[] = {ORVIK_MODULE_EXPORT_LIST(ORVIK_EXPORT_NAME)};
#undef ORVIK_EXPORT_NAME

LoadProblem Classify(const ModuleProbe& probe)
{
    const Platform::LoadFailure& failure = probe.failure;
    if (!probe.exists) return LoadProblem::FileMissing;
    // The record tells why a module of another contract or architecture is
    // refused, also where the loader's own check refuses it first.
    if (probe.recordState == Platform::RecordState::Found) {
        switch (Platform::FitOfRecord(probe.record)) {
        case Platform::RecordFit::OtherContract: return LoadProblem::OtherContract;
        case Platform::RecordFit::OtherArchitecture: return LoadProblem::OtherArchitecture;
        case Platform::RecordFit::Served: break;
        }
    }
    if (failure.missingSymbol[0] != '\0' || failure.code == Platform::kErrorProcedureNotFound) {
        return LoadProblem::SymbolMissing;
    }
    if (failure.missingModule[0] != '\0') return LoadProblem::DependencyMissing;
    switch (failure.code) {
    case Platform::kErrorBadExeFormat: return LoadProblem::NotAModule;
    case Platform::kErrorAccessDenied: return LoadProblem::AccessDenied;
    // The file is there, so something it needs is not.
    case Platform::kErrorModuleNotFound: return LoadProblem::DependencyMissing;
    default: return LoadProblem::Other;
    }
}

bool IsModuleExport(const std::string& name)
{
    return std::find(std::begin(kExportNames), std::end(kExportNames), name) != std::end(kExportNames);
}

std::vector<std::string> ExtraExports(const std::string& path)
{
    std::vector<std::string> extra;
    Platform::ReadExportNames(
        path.c_str(),
        [](const char* name, void* list) {
            if (!IsModuleExport(name)) static_cast<std::vector<std::string>*>(list)->push_back(name);
        },
        &extra);
    return extra;
}

}  // namespace

ModuleProbe ProbeModule(const std::string& path)
{
    ModuleProbe probe;
    probe.path = path;
    const PathKind kind = KindOfPath(path);
    probe.exists = kind == PathKind::File;
    probe.directory = kind == PathKind::Directory;
    if (probe.exists) probe.recordState = Platform::ReadModuleRecord(path.c_str(), &probe.record);
    const Platform::UniqueModule module(Platform::LoadModule(path.c_str()));
    if (!module) {
        Platform::GetLastLoadFailure(&probe.failure);
        probe.problem = Classify(probe);
        return probe;
    }
    probe.loads = true;
    char unresolved[Platform::kMaxPath] = {};
    if (Platform::FindUnresolvedImport(path.c_str(), unresolved, sizeof unresolved)) {
        probe.unresolvedImport = unresolved;
        probe.problem = LoadProblem::SymbolMissing;
    }
    for (const char* name : kExportNames) {
        probe.exports.push_back({name, Platform::FindExport(module.get(), name) != nullptr});
    }
    probe.extraExports = ExtraExports(path);
    if (auto getIds = FindModuleExport<Exports::GetComponentIDs>(module.get())) {
        uint32_t ids[kMaxIds] = {};
        probe.reportsIds = true;
        probe.idCount = getIds(ids, kMaxIds);
        probe.ids.assign(ids, ids + std::clamp(probe.idCount, 0, kMaxIds));
    }
    return probe;
}

bool HasExport(const ModuleProbe& probe, const char* name)
{
    return std::any_of(probe.exports.begin(), probe.exports.end(), [name](const ExportPresence& entry) {
        return entry.present && std::string(entry.name) == name;
    });
}

bool ProvidesId(const ModuleProbe& probe, ComponentId id)
{
    return std::find(probe.ids.begin(), probe.ids.end(), id) != probe.ids.end();
}

const char* ProblemName(LoadProblem problem)
{
    switch (problem) {
    case LoadProblem::None: return "ok";
    case LoadProblem::FileMissing: return "file-missing";
    case LoadProblem::DependencyMissing: return "dependency-missing";
    case LoadProblem::SymbolMissing: return "symbol-missing";
    case LoadProblem::NotAModule: return "not-a-module";
    case LoadProblem::AccessDenied: return "access-denied";
    case LoadProblem::OtherContract: return "other-contract";
    case LoadProblem::OtherArchitecture: return "other-architecture";
    case LoadProblem::Other: return "load-failed";
    }
    return "";
}

std::string DescribeProblem(const ModuleProbe& probe)
{
    const Platform::LoadFailure& failure = probe.failure;
    switch (probe.problem) {
    case LoadProblem::None: return "loads";
    case LoadProblem::FileMissing:
        return "file missing: " + probe.path + (probe.directory ? " (a directory of that name)" : "");
    case LoadProblem::DependencyMissing:
        return failure.missingModule[0] != '\0' ? "dependency missing: " + std::string(failure.missingModule)
                                                : "a module it depends on is missing (not identified)";
    case LoadProblem::SymbolMissing:
        if (!probe.unresolvedImport.empty()) {
            return "symbol missing: " + ReadableSymbol(probe.unresolvedImport) + ", bound to a stub";
        }
        return failure.missingSymbol[0] != '\0' ? "symbol missing: " + ReadableSymbol(failure.missingSymbol)
                                                : "a procedure it imports is missing (not identified)";
    case LoadProblem::NotAModule: return "not a module for this platform";
    case LoadProblem::AccessDenied: return "access denied";
    case LoadProblem::OtherContract:
    case LoadProblem::OtherArchitecture: return RecordText(probe);
    case LoadProblem::Other: return "does not load (error " + std::to_string(failure.code) + ")";
    }
    return "";
}

std::string RecordText(const ModuleProbe& probe)
{
    switch (probe.recordState) {
    case Platform::RecordState::Found: {
        char text[256];
        Platform::DescribeRecordFit(probe.record, text, sizeof text);
        return text;
    }
    case Platform::RecordState::Missing: return "none (built without the framework's module runtime)";
    case Platform::RecordState::Damaged: return "damaged";
    case Platform::RecordState::Unreadable: break;
    }
    return probe.exists ? "none found (no module image this platform reads)" : "none (no file)";
}

std::string MissingSymbol(const ModuleProbe& probe)
{
    return probe.unresolvedImport.empty() ? std::string(probe.failure.missingSymbol) : probe.unresolvedImport;
}

std::string BuildAdvice(const ModuleProbe& probe, const std::vector<std::string>& required)
{
    std::string lacks;
    if (probe.problem == LoadProblem::SymbolMissing && IsFrameworkSymbol(MissingSymbol(probe))) {
        lacks = "it was linked without the framework's runtime";
    } else if (probe.loads && probe.problem == LoadProblem::None) {
        for (const std::string& name : required) {
            if (!HasExport(probe, name.c_str())) lacks = "it does not export the module functions";
        }
        // Only a component module has the seven to compare with.
        if (lacks.empty() && HasExport(probe, "CreateComponent") && !probe.extraExports.empty()) {
            lacks = "it exports " + std::to_string(probe.extraExports.size()) + " names besides the seven";
        }
    }
    if (lacks.empty()) return lacks;
    return lacks + ": build it with orvik_add_component_module (CMake) or with the flags of "
                   "\"pkg-config --cflags --libs orvik-module\", which link the runtime and export the seven "
                   "functions only";
}

}  // namespace Tools
}  // namespace Orvik
