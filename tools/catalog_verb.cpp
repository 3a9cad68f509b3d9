// orvik catalog [CONFIG]: the catalog the factory makes of a configuration
// file, read by the catalog's own parser.

#include "tools/captured_lines.h"
#include "tools/catalog_reading.h"
#include "tools/json_writer.h"
#include "tools/profile_chain.h"
#include "tools/report_parts.h"
#include "tools/verbs.h"
#include "orvik/util/string_rules.h"

namespace Orvik {
namespace Tools {

namespace {

struct CatalogReport {
    ProfileChain chain;
    bool fileRead;
    CatalogView view;
    const CatalogReading& reading;
    std::vector<std::string> debugLines;
};

void PrintRecord(const CatalogRecordView& record, std::ostream& out)
{
    out << "  [" << record.id << "] ";
    if (record.dll.empty()) {
        out << "(no dll)";
    } else {
        out << "dll=" << record.dll;
    }
    if (record.notUseDefaultDllPath) out << " notusedefaultdllpath=1";
    out << " -> " << record.modulePath << '\n';
    if (record.hasLogSetting) {
        out << "    outputdebugstring=" << MaskLetters(record.debugOutputMask)
            << " writetologfile=" << MaskLetters(record.logFileMask) << '\n';
    }
}

void PrintText(const CatalogReport& report, std::ostream& out)
{
    const CatalogView& view = report.view;
    out << "file: " << view.configFilePath << (report.fileRead ? "" : " (missing: the catalog is empty)") << '\n';
    if (report.chain.final != report.chain.start) out << "  reached from " << report.chain.start << " by redirect\n";
    out << "dllpath: " << view.dllPath << '\n';
    out << "defaultdll: " << (view.defaultDllPath.empty() ? "(none)" : view.defaultDllPath) << '\n';
    out << "dlls: " << (view.hasDllList ? view.dllList : "(none)") << '\n';
    for (const PreloadEntry& preload : report.reading.preloads()) {
        out << "preload (line " << preload.line << "): " << preload.path << ": " << PreloadName(preload.outcome);
        out << '\n';
        if (preload.outcome == PreloadOutcome::Failed) PrintFailure(out, preload.failure, "  ");
    }
    out << "sections:" << (view.records.empty() ? " (none)" : "") << '\n';
    for (const CatalogRecordView& record : view.records) PrintRecord(record, out);
    out << "logdefault: outputdebugstring=" << MaskLetters(view.defaultDebugOutputMask)
        << " writetologfile=" << MaskLetters(view.defaultLogFileMask) << '\n';
    out << "log files: MaxFileSize=" << view.maxFileSize << " bytes, MaxFileCount=" << view.maxFileCount << '\n';
    if (!report.reading.ignoredLines().empty()) out << "ignored lines:\n";
    for (const IgnoredLineEntry& ignored : report.reading.ignoredLines()) {
        out << "  " << ignored.line << ": " << ignored.text << "    (" << IgnoredText(ignored.why) << ")\n";
    }
    if (!report.debugLines.empty()) out << "debug lines:\n";
    PrintDebugLines(out, report.debugLines);
}

void WriteJson(const CatalogReport& report, std::ostream& out)
{
    const CatalogView& view = report.view;
    JsonWriter json(out);
    json.BeginObject()
        .Field("verb", "catalog")
        .Field("start", report.chain.start)
        .Field("file", view.configFilePath)
        .Field("fileRead", report.fileRead)
        .Field("registryPath", view.registryPath)
        .Field("dllPath", view.dllPath)
        .Field("defaultDll", view.defaultDllPath)
        .Field("hasDllList", view.hasDllList)
        .Field("dllList", view.dllList);
    json.Key("preloads").BeginArray();
    for (const PreloadEntry& preload : report.reading.preloads()) {
        json.BeginObject()
            .Field("line", preload.line)
            .Field("path", preload.path)
            .Field("outcome", PreloadName(preload.outcome))
            .Field("error", preload.error);
        if (preload.outcome == PreloadOutcome::Failed) {
            json.Key("failure");
            WriteFailure(json, preload.failure);
        }
        json.EndObject();
    }
    json.EndArray().Key("sections").BeginArray();
    for (const CatalogRecordView& record : view.records) {
        json.BeginObject()
            .Field("id", record.id)
            .Field("dll", record.dll)
            .Field("notUseDefaultDllPath", record.notUseDefaultDllPath)
            .Field("modulePath", record.modulePath)
            .Field("hasLogSetting", record.hasLogSetting)
            .Field("outputdebugstring", MaskLetters(record.debugOutputMask))
            .Field("writetologfile", MaskLetters(record.logFileMask))
            .EndObject();
    }
    json.EndArray();
    json.Key("logDefault")
        .BeginObject()
        .Field("outputdebugstring", MaskLetters(view.defaultDebugOutputMask))
        .Field("writetologfile", MaskLetters(view.defaultLogFileMask))
        .Field("maxFileSize", view.maxFileSize)
        .Field("maxFileCount", view.maxFileCount)
        .EndObject();
    json.Key("ignoredLines").BeginArray();
    for (const IgnoredLineEntry& ignored : report.reading.ignoredLines()) {
        json.BeginObject()
            .Field("line", ignored.line)
            .Field("text", ignored.text)
            .Field("reason", IgnoredName(ignored.why))
            .EndObject();
    }
    json.EndArray();
    WriteDebugLines(json, report.debugLines);
    json.EndObject().Finish();
}

}  // namespace

int RunCatalog(const Arguments& arguments, std::ostream& out, std::ostream& err)
{
    const std::string start = ConfigOperand(arguments, err);
    if (start.empty()) return kExitUsage;
    // The factory's blank rule: this is how it finds a catalog's file.
    const ProfileChain chain = TraceProfileChain(start, &Rules::IsBlankString);
    CapturedLines captured;
    CatalogReading reading(start, chain.final);
    const CatalogReport report{chain, reading.fileRead(), reading.catalog().View(), reading, captured.lines()};
    if (arguments.json) {
        WriteJson(report, out);
    } else {
        PrintText(report, out);
    }
    return report.fileRead ? kExitOk : kExitFound;
}

}  // namespace Tools
}  // namespace Orvik
