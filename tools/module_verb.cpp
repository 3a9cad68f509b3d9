// orvik module FILE: whether a module file loads here, and if not why; its
// exports and the ids it reports.

#include "tools/arguments.h"
#include "tools/captured_lines.h"
#include "tools/json_writer.h"
#include "tools/module_probe.h"
#include "tools/report_parts.h"
#include "tools/symbol_names.h"
#include "tools/verbs.h"

namespace Orvik {
namespace Tools {

namespace {

std::vector<std::string> AllSeven(const ModuleProbe& probe)
{
    std::vector<std::string> names;
    for (const ExportPresence& entry : probe.exports) names.push_back(entry.name);
    return names;
}

bool Works(const ModuleProbe& probe)
{
    for (const ExportPresence& entry : probe.exports) {
        if (!entry.present) return false;
    }
    return probe.loads && probe.problem == LoadProblem::None;
}

void PrintText(const ModuleProbe& probe, const std::vector<std::string>& debugLines, std::ostream& out)
{
    out << "module: " << probe.path << '\n';
    out << "record: " << RecordText(probe) << '\n';
    if (!probe.loads) {
        out << "does not load: " << DescribeProblem(probe) << '\n';
        PrintFailure(out, probe.failure, "  ");
    } else {
        out << "loads\n";
        if (probe.problem != LoadProblem::None) out << "but: " << DescribeProblem(probe) << '\n';
        out << "exports:\n";
        for (const ExportPresence& entry : probe.exports) {
            out << "  " << (entry.present ? "yes " : "NO  ") << entry.name << '\n';
        }
        if (!probe.extraExports.empty()) {
            // The first few tell what leaked; --json lists them all.
            constexpr size_t kShown = 10;
            out << "other exports: " << probe.extraExports.size() << '\n';
            for (size_t i = 0; i < probe.extraExports.size() && i < kShown; ++i) {
                out << "  " << ReadableSymbol(probe.extraExports[i]) << '\n';
            }
            if (probe.extraExports.size() > kShown) out << "  ...\n";
        }
        if (probe.reportsIds) {
            out << "ids (GetComponentIDs returned " << probe.idCount << "):";
            for (ComponentId id : probe.ids) out << ' ' << id;
            out << '\n';
        }
    }
    const std::string advice = BuildAdvice(probe, AllSeven(probe));
    if (!advice.empty()) out << "advice: " << advice << '\n';
    if (!debugLines.empty()) out << "debug lines:\n";
    PrintDebugLines(out, debugLines);
}

void WriteJson(const ModuleProbe& probe, const std::vector<std::string>& debugLines, std::ostream& out)
{
    JsonWriter json(out);
    json.BeginObject().Field("verb", "module");
    WriteProbeMembers(json, probe);
    json.Field("message", DescribeProblem(probe)).Field("advice", BuildAdvice(probe, AllSeven(probe)));
    WriteDebugLines(json, debugLines);
    json.EndObject().Finish();
}

}  // namespace

int RunModule(const Arguments& arguments, std::ostream& out, std::ostream& err)
{
    if (arguments.operands.size() != 1) return UsageError(err, "module", "takes one FILE");
    const std::string path = FrameworkPathFromUser(arguments.operands[0]);
    if (path.empty()) return UsageError(err, "module", "path too long: " + arguments.operands[0]);
    // A module of the framework may write lines as it starts or ends.
    CapturedLines captured;
    const ModuleProbe probe = ProbeModule(path);
    if (arguments.json) {
        WriteJson(probe, captured.lines(), out);
    } else {
        PrintText(probe, captured.lines(), out);
    }
    return Works(probe) ? kExitOk : kExitFound;
}

}  // namespace Tools
}  // namespace Orvik
