// orvik check [CONFIG | --program PROGRAM]: every module a configuration file names or scans,
// with OK or the reason it fails, and the file's own mistakes. Exits with 1
// when there is any problem.

#include "tools/check_findings.h"
#include "tools/json_writer.h"
#include "tools/report_parts.h"
#include "tools/verbs.h"

namespace Orvik {
namespace Tools {

namespace {

const char* Label(Severity severity)
{
    switch (severity) {
    case Severity::Ok: return "OK      ";
    case Severity::Problem: return "PROBLEM ";
    case Severity::Note: return "note    ";
    }
    return "";
}

void PrintText(const CheckReport& report, std::ostream& out)
{
    if (!report.program.empty()) out << "program: " << report.program << " (reads the Orvik.ini beside it)\n";
    out << "checking " << report.file << '\n';
    if (report.file != report.start) out << "  (reached from " << report.start << " by redirect)\n";
    for (const Finding& finding : report.findings) {
        out << "  " << Label(finding.severity) << finding.subject << ": " << finding.message << '\n';
        if (!finding.path.empty() && finding.reason != "file-missing") out << "           " << finding.path << '\n';
        if (finding.loadFailed) PrintFailure(out, finding.failure, "           ");
        if (!finding.advice.empty()) out << "           advice: " << finding.advice << '\n';
    }
    out << "OK: " << report.Count(Severity::Ok) << ", problems: " << report.Count(Severity::Problem)
        << ", notes: " << report.Count(Severity::Note) << '\n';
    if (!report.debugLines.empty()) out << "debug lines:\n";
    PrintDebugLines(out, report.debugLines);
}

void WriteJson(const CheckReport& report, std::ostream& out)
{
    JsonWriter json(out);
    json.BeginObject()
        .Field("verb", "check")
        .Field("program", report.program)
        .Field("start", report.start)
        .Field("file", report.file)
        .Field("ok", report.Count(Severity::Problem) == 0)
        .Field("problems", report.Count(Severity::Problem));
    json.Key("findings").BeginArray();
    for (const Finding& finding : report.findings) {
        json.BeginObject()
            .Field("severity", SeverityName(finding.severity))
            .Field("reason", finding.reason)
            .Field("subject", finding.subject)
            .Field("message", finding.message)
            .Field("advice", finding.advice)
            .Field("path", finding.path)
            .Field("line", finding.line);
        if (finding.loadFailed) {
            json.Key("failure");
            WriteFailure(json, finding.failure);
        }
        json.Key("ids").BeginArray();
        for (ComponentId id : finding.ids) json.Number(id);
        json.EndArray().EndObject();
    }
    json.EndArray();
    WriteDebugLines(json, report.debugLines);
    json.EndObject().Finish();
}

}  // namespace

int RunCheck(const Arguments& arguments, std::ostream& out, std::ostream& err)
{
    StartFile start;
    if (!StartOperand(arguments, err, &start)) return kExitUsage;
    const CheckReport report = CheckConfiguration(start);
    if (arguments.json) {
        WriteJson(report, out);
    } else {
        PrintText(report, out);
    }
    return report.Count(Severity::Problem) == 0 ? kExitOk : kExitFound;
}

}  // namespace Tools
}  // namespace Orvik
