#include "tools/report_parts.h"

#include "orvik/module/log_file_info.h"
#include "tools/symbol_names.h"

namespace Orvik {
namespace Tools {

std::string MaskLetters(uint32_t mask)
{
    static const struct {
        uint32_t bit;
        char letter;
    } kLetters[] = {{LOG_E, 'E'}, {LOG_T, 'T'}, {LOG_V, 'V'}, {LOG_D, 'D'}, {LOG_W, 'W'}, {LOG_C, 'C'}};
    std::string letters;
    for (const auto& entry : kLetters) {
        if ((mask & entry.bit) != 0) letters += entry.letter;
    }
    return letters;
}

void PrintDebugLines(std::ostream& out, const std::vector<std::string>& lines)
{
    for (const std::string& line : lines) {
        out << "  " << line;
        if (line.empty() || line.back() != '\n') out << '\n';
    }
}

void WriteDebugLines(JsonWriter& json, const std::vector<std::string>& lines)
{
    json.Key("debugLines").BeginArray();
    for (const std::string& line : lines) json.String(line);
    json.EndArray();
}

void PrintFailure(std::ostream& out, const Platform::LoadFailure& failure, const std::string& indent)
{
    out << indent << "loader: " << failure.text << " (error " << failure.code << ")\n";
    if (failure.missingModule[0] != '\0') out << indent << "missing dependency: " << failure.missingModule << '\n';
    if (failure.missingSymbol[0] != '\0') {
        out << indent << "missing symbol: " << ReadableSymbol(failure.missingSymbol) << '\n';
    }
}

void WriteFailure(JsonWriter& json, const Platform::LoadFailure& failure)
{
    json.BeginObject()
        .Field("path", failure.path)
        .Field("code", failure.code)
        .Field("text", failure.text)
        .Field("missingModule", failure.missingModule)
        .Field("missingSymbol", failure.missingSymbol)
        .Field("missingSymbolDemangled", Demangle(failure.missingSymbol))
        .EndObject();
}

namespace {

const char* RecordStateName(Platform::RecordState state)
{
    switch (state) {
    case Platform::RecordState::Found: return "found";
    case Platform::RecordState::Missing: return "missing";
    case Platform::RecordState::Damaged: return "damaged";
    case Platform::RecordState::Unreadable: return "unreadable";
    }
    return "";
}

void WriteRecord(JsonWriter& json, const ModuleProbe& probe)
{
    json.Key("record").BeginObject().Field("state", RecordStateName(probe.recordState));
    if (probe.recordState == Platform::RecordState::Found) {
        const Platform::ModuleRecord& record = probe.record;
        const auto version = [](unsigned major, unsigned minor) {
            return std::to_string(major) + "." + std::to_string(minor);
        };
        json.Field("framework", version(record.frameworkMajor, record.frameworkMinor) + "." +
                                    std::to_string(record.frameworkPatch))
            .Field("contract", version(record.contractMajor, record.contractMinor))
            .Field("architecture", record.architecture)
            .Field("buildType", record.buildType)
            .Field("served", Platform::FitOfRecord(record) == Platform::RecordFit::Served);
    }
    json.Field("text", RecordText(probe)).EndObject();
}

}  // namespace

void WriteProbeMembers(JsonWriter& json, const ModuleProbe& probe)
{
    json.Field("path", probe.path).Field("exists", probe.exists).Field("loads", probe.loads);
    json.Field("problem", ProblemName(probe.problem));
    WriteRecord(json, probe);
    if (!probe.loads) {
        json.Key("failure");
        WriteFailure(json, probe.failure);
        return;
    }
    json.Field("unresolvedImport", probe.unresolvedImport)
        .Field("unresolvedImportDemangled", Demangle(probe.unresolvedImport));
    json.Key("exports").BeginObject();
    for (const ExportPresence& entry : probe.exports) json.Field(entry.name, entry.present);
    json.EndObject();
    json.Key("extraExports").BeginArray();
    for (const std::string& name : probe.extraExports) json.String(name);
    json.EndArray();
    if (!probe.reportsIds) return;
    json.Field("idCount", probe.idCount).Key("ids").BeginArray();
    for (ComponentId id : probe.ids) json.Number(id);
    json.EndArray();
}

}  // namespace Tools
}  // namespace Orvik
