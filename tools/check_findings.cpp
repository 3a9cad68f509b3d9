#include "tools/check_findings.h"

#include <algorithm>
#include <initializer_list>
#include <map>

#include "tools/captured_lines.h"
#include "tools/catalog_reading.h"
#include "tools/module_probe.h"
#include "tools/profile_chain.h"
#include "orvik/util/bootstrap_helpers.h"
#include "orvik/util/string_rules.h"

namespace Orvik {
namespace Tools {

namespace {

std::string IdList(const std::vector<ComponentId>& ids)
{
    std::string list;
    for (ComponentId id : ids) list += (list.empty() ? "" : ", ") + std::to_string(id);
    return list;
}

// Some item of a comma-separated value, blanks aside, starts with "/": the
// rules read it as relative, though on Linux it looks absolute.
bool HasSlashItem(const std::string& value, bool list)
{
    size_t start = 0;
    while (start <= value.size()) {
        const size_t end = list ? std::min(value.find(',', start), value.size()) : value.size();
        const size_t first = value.find_first_not_of(" \t", start);
        if (first < end && value[first] == '/') return true;
        start = end + 1;
    }
    return false;
}

// A line meant as a comment or left blank: nothing to note.
bool IsComment(const IgnoredLineEntry& ignored)
{
    if (ignored.why != IgnoredLine::NoKeyOrSection) return false;
    const size_t first = ignored.text.find_first_not_of(" \t");
    return first == std::string::npos || ignored.text[first] == ';' || ignored.text[first] == '#';
}

std::string ExtraExportsText(const ModuleProbe& probe)
{
    // A few raw names tell what leaked; "orvik module" lists them all, readable.
    constexpr size_t kShown = 3;
    std::string names;
    for (size_t i = 0; i < probe.extraExports.size() && i < kShown; ++i) {
        names += (i == 0 ? "" : ", ") + probe.extraExports[i];
    }
    if (probe.extraExports.size() > kShown) names += ", ...";
    return "exports " + std::to_string(probe.extraExports.size()) + " names besides the seven: " + names;
}

class Checker {
public:
    explicit Checker(const StartFile& start) : guessed_(start.guessed)
    {
        report_.program = start.program;
        report_.start = start.path;
    }

    CheckReport Run()
    {
        CapturedLines captured;
        if (guessed_) {
            Add(Severity::Note, "current-directory", "configuration file",
                "the Orvik.ini of the current directory; a program reads the one beside its executable "
                "(--program PROGRAM)");
        }
        // The factory reads the file through its redirects.
        const ProfileChain chain = TraceProfileChain(report_.start, &Rules::IsBlankString);
        report_.file = chain.final;
        CheckRedirects(chain);
        CatalogReading reading(report_.start, chain.final);
        if (!reading.fileRead()) {
            Add(Severity::Problem, "config-missing", "configuration file", "no such file: " + chain.final);
        } else {
            CheckFile(reading);
        }
        report_.debugLines = captured.lines();
        return std::move(report_);
    }

private:
    void CheckFile(CatalogReading& reading)
    {
        CheckKeys(reading);
        CatalogView view = reading.catalog().View();
        CheckFactory(view, reading);
        CheckSections(view);
        CheckDefaultModule(view);
        CheckPreloads(reading);
        reading.catalog().ScanModuleList();
        CheckScan(reading, reading.catalog().View());
        for (const IgnoredLineEntry& ignored : reading.ignoredLines()) {
            if (IsComment(ignored)) continue;
            Add(Severity::Note, "ignored-line", "line " + std::to_string(ignored.line),
                "ignored (" + std::string(IgnoredText(ignored.why)) + "): " + ignored.text)
                .line = ignored.line;
        }
    }

    void CheckRedirects(const ProfileChain& chain)
    {
        for (const ProfileStep& step : chain.steps) {
            if (step.step == RedirectStep::None || !HasSlashItem(step.redirect, false)) continue;
            AddSlashPath("[Redirect] Path in " + step.profile, step.redirect, 0);
        }
    }

    void CheckKeys(const CatalogReading& reading)
    {
        for (const KeyEntry& key : reading.keys()) {
            const bool list = key.key == ConfigKey::Dlls || key.key == ConfigKey::Preload;
            const bool path = list || key.key == ConfigKey::Dll || key.key == ConfigKey::DllPath ||
                              key.key == ConfigKey::DefaultDll;
            if (path && HasSlashItem(key.value, list)) {
                AddSlashPath("line " + std::to_string(key.line), std::string(KeyName(key.key)) + "=" + key.value,
                             key.line);
            }
        }
    }

    void AddSlashPath(const std::string& subject, const std::string& value, int line)
    {
        Add(Severity::Problem, "slash-path", subject,
            value + ": a path starting with \"/\" is relative to the rules (absolute ones start with \"\\\" or hold "
                    "\":\"); write it with backslashes, e.g. \\opt\\app\\x.dll")
            .line = line;
    }

    void CheckFactory(const CatalogView& view, const CatalogReading& reading)
    {
        const bool hasSection =
            std::any_of(view.records.begin(), view.records.end(),
                        [](const CatalogRecordView& record) { return record.id == kFactoryComponentId; });
        const bool loadsModules = !view.defaultDllPath.empty() || view.hasDllList || !reading.preloads().empty() ||
                                  std::any_of(view.records.begin(), view.records.end(),
                                              [](const CatalogRecordView& record) { return !record.dll.empty(); });
        if (!hasSection) {
            if (loadsModules) {
                Add(Severity::Problem, "no-factory-section", "[361]",
                    "the file loads modules but has no [361] section: a module loaded through it asks this file "
                    "for the factory module and fails with \"[Orvik_Error] Load OrvFact.dll Fail.\"");
            }
            return;
        }
        // As a module loaded through this file finds the factory module.
        const FactoryModulePath factory = TraceFactoryModule(TraceProfileChain(report_.start, &IsBlank).final);
        factoryPath_ = factory.path;
        if (factory.dll.empty()) return;  // the section's own check says it names no dll
        CheckModule("factory module ([361] DLL=" + factory.dll + ")", factory.path, 0, {"CreateComponent"},
                    kFactoryComponentId);
    }

    void CheckSections(const CatalogView& view)
    {
        for (const CatalogRecordView& record : view.records) {
            const std::string subject = "[" + std::to_string(record.id) + "]";
            if (record.dll.empty()) {
                Add(Severity::Problem, "no-dll", subject,
                    "the section names no dll: a request for " + std::to_string(record.id) + " loads \"" +
                        record.modulePath + "\" and fails");
            } else if (record.id != kFactoryComponentId || record.modulePath != factoryPath_) {
                CheckModule(subject + " dll=" + record.dll, record.modulePath, 0, {"CreateComponent"}, record.id);
            }
        }
    }

    void CheckDefaultModule(const CatalogView& view)
    {
        if (view.defaultDllPath.empty()) return;
        CheckModule("defaultdll", view.defaultDllPath, 0, {"CreateComponent"}, 0);
        if (view.hasDllList) {
            Add(Severity::Note, "default-unused", "defaultdll", "not used: with \"dlls\" set, ids come from the list");
        }
    }

    void CheckPreloads(const CatalogReading& reading)
    {
        for (const PreloadEntry& preload : reading.preloads()) {
            const std::string subject = "preload (line " + std::to_string(preload.line) + ")";
            if (preload.outcome == PreloadOutcome::AlreadyLoaded) {
                Add(Severity::Note, "already-loaded", subject, "already loaded in this process: " + preload.path);
            } else {
                CheckModule(subject, preload.path, preload.line, {}, 0);
            }
        }
    }

    void CheckScan(const CatalogReading& reading, const CatalogView& scanned)
    {
        // Which listed modules report each id, in list order.
        std::map<ComponentId, std::vector<std::string>> providers;
        for (const ScanEntry& scan : reading.scans()) {
            if (scan.outcome == ScanOutcome::NameTooLong) {
                Add(Severity::Problem, "name-too-long", "dlls: " + scan.name,
                    "a name of more than 28 characters is skipped by the scan");
                continue;
            }
            if (scan.outcome == ScanOutcome::ListCut) {
                Add(Severity::Problem, "list-cut", "dlls",
                    "an empty item ends the scan: never scanned: " + scan.name);
                continue;
            }
            const ModuleProbe probe =
                CheckModule("dlls: " + scan.name, scan.path, 0, {"GetComponentIDs", "CreateComponent"}, 0);
            for (ComponentId id : probe.ids) {
                std::vector<std::string>& names = providers[id];
                if (std::find(names.begin(), names.end(), scan.name) == names.end()) names.push_back(scan.name);
            }
        }
        for (const auto& entry : providers) {
            if (entry.second.size() > 1) AddDuplicate(entry.first, entry.second, scanned);
        }
    }

    void AddDuplicate(ComponentId id, const std::vector<std::string>& names, const CatalogView& scanned)
    {
        std::string winner;
        for (const ScannedIdView& known : scanned.scannedIds) {
            if (known.id == id) winner = known.dllName;
        }
        std::string served;
        for (const std::string& name : names) served += (served.empty() ? "" : " and ") + name;
        const bool ownSection = std::any_of(scanned.records.begin(), scanned.records.end(),
                                            [id](const CatalogRecordView& record) { return record.id == id; });
        std::string message = "id " + std::to_string(id) + " is served by " + served + "; " + winner +
                               " wins (the later in the list)";
        if (ownSection) message += ", but the id's own section comes first";
        Add(ownSection ? Severity::Note : Severity::Problem, "duplicate-id", "id " + std::to_string(id), message);
    }

    // One finding for a module: OK, or why it fails; a note when it does
    // not list the id it is named for (0: none).
    ModuleProbe CheckModule(const std::string& subject, const std::string& path, int line,
                            std::initializer_list<const char*> required, ComponentId namedFor)
    {
        ModuleProbe probe = ProbeModule(path);
        const std::string advice = BuildAdvice(probe, std::vector<std::string>(required.begin(), required.end()));
        const auto add = [&](Severity severity, const std::string& reason, const std::string& message) -> Finding& {
            Finding& finding = Add(severity, reason, subject, message);
            finding.path = path;
            finding.line = line;
            finding.ids = probe.ids;
            return finding;
        };
        if (!probe.loads) {
            Finding& finding = add(Severity::Problem, ProblemName(probe.problem), DescribeProblem(probe));
            finding.loadFailed = true;
            finding.failure = probe.failure;
            finding.advice = advice;
            return probe;
        }
        if (probe.problem != LoadProblem::None) {
            add(Severity::Problem, ProblemName(probe.problem), DescribeProblem(probe)).advice = advice;
            return probe;
        }
        std::string missing;
        for (const char* name : required) {
            if (!HasExport(probe, name)) missing += (missing.empty() ? "" : ", ") + std::string(name);
        }
        if (!missing.empty()) {
            add(Severity::Problem, "export-missing", "export missing: " + missing).advice = advice;
        } else if (namedFor != 0 && probe.reportsIds && !ProvidesId(probe, namedFor)) {
            // The catalog loads it for the id, and its CreateComponent makes nothing.
            add(Severity::Problem, "id-not-listed",
                "loads, but its GetComponentIDs reports " + (probe.ids.empty() ? "no id" : IdList(probe.ids)) +
                    ", not " + std::to_string(namedFor) + ": a request for " + std::to_string(namedFor) +
                    " gets nothing");
        } else {
            add(Severity::Ok, "ok", probe.reportsIds ? "loads; ids: " + IdList(probe.ids) : "loads");
            if (!advice.empty()) add(Severity::Note, "extra-exports", ExtraExportsText(probe)).advice = advice;
        }
        return probe;
    }

    Finding& Add(Severity severity, const std::string& reason, const std::string& subject, const std::string& message)
    {
        report_.findings.push_back({severity, reason, subject, message, "", "", 0, false, {}, {}});
        return report_.findings.back();
    }

    bool guessed_;
    CheckReport report_;
    // The factory module as the bootstrap finds it; the [361] section is
    // not checked twice when it names the same file.
    std::string factoryPath_;
};

}  // namespace

int CheckReport::Count(Severity severity) const
{
    return static_cast<int>(std::count_if(findings.begin(), findings.end(),
                                          [severity](const Finding& finding) { return finding.severity == severity; }));
}

CheckReport CheckConfiguration(const StartFile& start) { return Checker(start).Run(); }

const char* SeverityName(Severity severity)
{
    switch (severity) {
    case Severity::Ok: return "ok";
    case Severity::Problem: return "problem";
    case Severity::Note: return "note";
    }
    return "";
}

}  // namespace Tools
}  // namespace Orvik
