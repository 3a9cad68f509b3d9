// orvik create ID [--config CONFIG]: asks a real factory, obtained as any
// module obtains it, for a component, and shows the debug lines that
// caused, the factory's trace of the request, the outcome and, when nothing
// was created, why.

#include <cerrno>
#include <cstdlib>

#include "orvik/bootstrap/factory_bootstrap.h"
#include "orvik/platform/thread_timer.h"
#include "tools/captured_lines.h"
#include "tools/catalog_reading.h"
#include "tools/json_writer.h"
#include "tools/profile_chain.h"
#include "tools/report_parts.h"
#include "tools/request_trace.h"
#include "tools/verbs.h"
#include "orvik/util/bootstrap_helpers.h"
#include "orvik/util/string_rules.h"

namespace Orvik {
namespace Tools {

namespace {

// Long enough for the factory's 100 ms unload timer to tick.
constexpr uint32_t kIdleUnloadWaitMs = 250;

struct CreateReport {
    ComponentId id = 0;
    std::string config;
    bool factoryObtained = false;
    bool created = false;
    ComponentId reportedId = 0;  // what the component says it is
    bool shared = false;         // a registered instance of the factory
    std::vector<std::string> debugLines;
    std::vector<TraceEntry> trace;  // from the request to the factory's end
    bool loadFailed = false;
    Platform::LoadFailure failure{};  // the last load that failed during the request
    ProfileChain profiles{};  // when no factory was obtained
    FactoryModulePath factoryModule{};
    CreationRoute route = CreationRoute::Nothing;
    std::string routeDetail;
};

bool ParseId(const std::string& text, ComponentId* id)
{
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) return false;
    errno = 0;
    const unsigned long long value = std::strtoull(text.c_str(), nullptr, 10);
    if (errno != 0 || value > 0xFFFFFFFFull) return false;
    *id = static_cast<ComponentId>(value);
    return true;
}

// The request, as TOrvikPtr<Interface, 1> makes it from a module that
// names config, then the host's shutdown.
void AskFactory(CreateReport* report)
{
    Platform::LoadFailure before;
    Platform::GetLastLoadFailure(&before);
    CapturedLines captured;
    if (ModuleFactory() == nullptr) LoadFactory(report->config.c_str(), FactoryModuleSource::GivenHandle);
    IOrvikComponentFactory* factory = ModuleFactory();
    report->factoryObtained = factory != nullptr;
    TraceRecorder recorder;
    if (factory != nullptr) {
        // The factory drops the sink when it ends, after its catalogs went.
        auto* inspection =
            static_cast<IOrvikInspection*>(factory->CreateComponentByID(kInspectionComponentId, nullptr));
        if (inspection != nullptr) inspection->SetTraceSink(&recorder);
        IComponent* component = factory->CreateComponentByID(report->id, report->config.c_str());
        report->created = component != nullptr;
        if (component != nullptr) {
            component->SetAutoRelease(0);
            report->reportedId = component->GetComponentID();
            report->shared = factory->IsRegisteredInstance(component) != 0;
            if (!report->shared) {
                component->Release(0);
                // As a host's message loop would: the factory's unload timer
                // takes the provider that fell idle, which would otherwise
                // outlive the factory and keep a pointer to it.
                Platform::DispatchMessagesFor(kIdleUnloadWaitMs);
            }
        }
        factory->Release(1);
        ForgetFactory(factory);
    }
    report->trace = recorder.Entries();
    report->debugLines = captured.lines();
    Platform::LoadFailure after;
    Platform::GetLastLoadFailure(&after);
    if (after.count != before.count) {
        report->loadFailed = true;
        report->failure = after;
    }
}

// Where the request went, by the configuration the factory read.
void ExplainRoute(CreateReport* report)
{
    // The factory's catalog was read already; this reading only looks, and
    // what it writes (preloads again) is no part of the request.
    CapturedLines dropped;
    CatalogReading reading(report->config, TraceProfileChain(report->config, &Rules::IsBlankString).final);
    CComponentClassInfoList& catalog = reading.catalog();
    report->route = catalog.Route(report->id);
    const CatalogView view = catalog.View();
    switch (report->route) {
    case CreationRoute::Section:
        for (const CatalogRecordView& record : view.records) {
            if (record.id == report->id) {
                report->routeDetail = "section [" + std::to_string(record.id) + "] names \"" + record.dll + "\": " +
                                      record.modulePath;
            }
        }
        break;
    case CreationRoute::ScannedModule:
        report->routeDetail = "no section; a module of \"dlls\" must report the id: " + view.dllList;
        break;
    case CreationRoute::DefaultModule:
        report->routeDetail = "no section and no \"dlls\": the default module " + view.defaultDllPath;
        break;
    case CreationRoute::Nothing:
        report->routeDetail = "nothing provides it: no section [" + std::to_string(report->id) +
                              "], no \"dlls\" and no \"defaultdll\" in " + view.configFilePath;
        break;
    }
}

const char* RouteName(CreationRoute route)
{
    switch (route) {
    case CreationRoute::Section: return "section";
    case CreationRoute::ScannedModule: return "scanned-module";
    case CreationRoute::DefaultModule: return "default-module";
    case CreationRoute::Nothing: return "nothing";
    }
    return "";
}

void PrintText(const CreateReport& report, std::ostream& out)
{
    out << "create " << report.id << " with " << report.config << '\n';
    out << "debug lines:" << (report.debugLines.empty() ? " (none)" : "") << '\n';
    PrintDebugLines(out, report.debugLines);
    if (report.factoryObtained) {
        out << "trace:\n";
        PrintTrace(out, report.trace);
    }
    if (report.created) {
        out << "outcome: created component " << report.reportedId
            << (report.shared ? " (the factory's shared instance)\n" : " (released again)\n");
        return;
    }
    out << "outcome: not created\n";
    if (!report.factoryObtained) {
        out << "why: no factory: ";
        if (!report.profiles.finalExists) {
            out << "the profile " << report.profiles.final << " does not exist\n";
        } else if (report.factoryModule.dll.empty()) {
            out << "[361] DLL is empty or missing in " << report.profiles.final << '\n';
        } else {
            out << "the factory module " << report.factoryModule.path << " did not load\n";
        }
        out << "  factory module path: " << report.factoryModule.path << '\n'
            << "  rule: " << RuleText(report.factoryModule.rule) << '\n';
    } else {
        out << "why: " << report.routeDetail << '\n';
    }
    if (report.loadFailed) {
        out << "  failed load: " << report.failure.path << '\n';
        PrintFailure(out, report.failure, "  ");
    }
    out << "run \"orvik check\" on the file to check every module it names\n";
}

void WriteJson(const CreateReport& report, std::ostream& out)
{
    JsonWriter json(out);
    json.BeginObject()
        .Field("verb", "create")
        .Field("id", report.id)
        .Field("config", report.config)
        .Field("factory", report.factoryObtained)
        .Field("created", report.created)
        .Field("componentId", report.reportedId)
        .Field("shared", report.shared);
    if (!report.created) {
        if (!report.factoryObtained) {
            json.Key("factoryModule")
                .BeginObject()
                .Field("profile", report.profiles.final)
                .Field("profileExists", report.profiles.finalExists)
                .Field("dll", report.factoryModule.dll)
                .Field("path", report.factoryModule.path)
                .Field("rule", RuleName(report.factoryModule.rule))
                .EndObject();
        }
        if (report.factoryObtained) {
            json.Field("route", RouteName(report.route)).Field("routeDetail", report.routeDetail);
        }
    }
    json.Key("loadFailure");
    if (report.loadFailed) {
        WriteFailure(json, report.failure);
    } else {
        json.Null();
    }
    WriteDebugLines(json, report.debugLines);
    WriteTrace(json, report.trace);
    json.EndObject().Finish();
}

}  // namespace

int RunCreate(const Arguments& arguments, std::ostream& out, std::ostream& err)
{
    CreateReport report;
    if (arguments.operands.size() != 1) return UsageError(err, "create", "takes one ID");
    if (!ParseId(arguments.operands[0], &report.id)) {
        return UsageError(err, "create", "not a component id: " + arguments.operands[0]);
    }
    report.config = ConfigPathFromUser(arguments.config);
    if (report.config.empty()) return UsageError(err, "create", "path too long: " + arguments.config);
    AskFactory(&report);
    if (!report.created) {
        if (report.factoryObtained) {
            ExplainRoute(&report);
        } else {
            report.profiles = TraceProfileChain(report.config, &IsBlank);
            report.factoryModule = TraceFactoryModule(report.profiles.final);
        }
    }
    if (arguments.json) {
        WriteJson(report, out);
    } else {
        PrintText(report, out);
    }
    return report.created ? kExitOk : kExitFound;
}

}  // namespace Tools
}  // namespace Orvik
