// The six scenarios. Each sets the world up without a fault, arms its part,
// checks that what came back is the request's result or its documented
// failure, asks again once the fault is gone and, where the framework's rules
// let a failure stay, says which rule keeps it.

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>

#include "orvik/platform/file_system.h"
#include "orvik/platform/lock.h"
#include "tests/faults/fault_point.h"

namespace Orvik {
namespace Faults {

namespace {

using Testing::kAlphaTag;
using Testing::kBetaTag;
using Testing::kSharedTag;

// What one request gave: its component, or null and the failure lines.
void ExpectComponentOrNull(Point& point, const ProbeReport& report, int32_t tag, const char* registryPath,
                           const char* what)
{
    if (report.tag == 0) return;
    if (report.tag != tag) point.Wrong(std::string(what) + ": a component of another module");
    if (std::strcmp(report.registryPath, registryPath) != 0) {
        point.Wrong(std::string(what) + ": registry path \"" + report.registryPath + "\"");
    }
}

// The debug-output mask of the probe id as the catalog of configPath has
// it; the caller's preset 0xFF when that catalog does not exist.
uint32_t ProbeMask(World& world, const char* configPath)
{
    IOrvikComponentFactory* factory = world.Factory();
    if (factory == nullptr) return 0xFF;
    uint32_t debugOutputMask = 0xFF;
    uint32_t logFileMask = 0;
    LogFileInfo* info = nullptr;
    factory->QueryLogSetting(configPath, kProbeId, &debugOutputMask, &logFileMask, &info);
    return debugOutputMask;
}

// Why a request that failed again may stay failed: its catalog was made
// while its file could not be read (it knows nothing of it), and a catalog
// reads its file once.
std::string ConfigurationLost(Point& point, World& world, const char* configPath, const char* file)
{
    if (ProbeMask(world, configPath) != 0 || !point.FailedReading(file)) return std::string();
    return std::string("a catalog reads its file once; ") + file + " could not be read";
}

// Asks for the component again, which must come now; when it does not,
// prescribed is asked which of the framework's rules keeps it so.
void AskAgain(Point& point, World& world, ComponentId id, int32_t tag, const char* registry, const char* what,
              const std::function<std::string()>& prescribed = {})
{
    world.SetRegistry(registry);
    const ProbeReport report = world.Use(id);
    if (report.tag == tag && std::strcmp(report.registryPath, registry) == 0) return;
    point.Unrecovered(what, prescribed ? prescribed() : std::string());
}

// (a) The first request of a section module: the factory module is found
// and loaded, "Orvik.ini" read, the section's module loaded.
void FirstRequest(Point& point, World& world)
{
    world.LoadClient();
    ProbeReport first{};
    point.Armed([&] { first = world.Use(kSectionId); });
    ExpectComponentOrNull(point, first, kAlphaTag, "", "first request");
    AskAgain(point, world, kSectionId, kAlphaTag, "", "the section's component",
             [&] { return ConfigurationLost(point, world, nullptr, "Orvik.ini"); });
    world.SetLogRoot();
}

// (b) The first request through a second configuration file, which scans
// its "dlls" and preloads a module.
void SecondConfiguration(Point& point, World& world)
{
    world.LoadClient();
    world.Use(kSectionId);
    world.SetLogRoot();
    world.SetRegistry(kPlugins);
    ProbeReport first{};
    point.Armed([&] { first = world.Use(kScannedId); });
    ExpectComponentOrNull(point, first, kBetaTag, kPlugins, "first scanned request");
    AskAgain(point, world, kScannedId, kBetaTag, kPlugins, "the scanned component", [&] {
        const std::string lost = ConfigurationLost(point, world, kPlugins, kPlugins);
        if (!lost.empty()) return lost;
        for (const std::string& line : point.ArmedLines()) {
            if (IsScanFailure(line, kScannedModule)) {
                return std::string("only the default catalog scans a failed module again");
            }
        }
        return std::string();
    });
}

// (c) Requests repeated once each kind has been served: a scanned module's,
// a section module's and a registered shared instance.
void RepeatedRequests(Point& point, World& world)
{
    world.LoadClient();
    world.SetLogRoot();
    world.Use(kSectionId);
    const ProbeReport shared = world.Use(kSharedId);
    world.SetRegistry(kPlugins);
    world.Use(kScannedId);
    ProbeReport scanned{};
    ProbeReport section{};
    ProbeReport again{};
    point.Armed([&] {
        scanned = world.Use(kScannedId);
        world.SetRegistry("");
        section = world.Use(kSectionId);
        again = world.Use(kSharedId);
    });
    ExpectComponentOrNull(point, scanned, kBetaTag, kPlugins, "scanned request");
    ExpectComponentOrNull(point, section, kAlphaTag, "", "section request");
    ExpectComponentOrNull(point, again, kSharedTag, "", "registered request");
    if (again.tag != 0 && again.component != shared.component) point.Wrong("a second shared instance");
    AskAgain(point, world, kScannedId, kBetaTag, kPlugins, "the scanned component");
    AskAgain(point, world, kSectionId, kAlphaTag, "", "the section's component");
    AskAgain(point, world, kSharedId, kSharedTag, "", "the shared instance");
}

bool WriteLogLine(const LogFileInfo* info, const char* line)
{
    if (info == nullptr || !Platform::FileTraits::IsOpen(info->file)) return false;
    Platform::EnterLock(info->lock);
    uint32_t written = 0;
    const bool ok = Platform::WriteToFile(info->file, line, static_cast<uint32_t>(std::strlen(line)), &written);
    Platform::LeaveLock(info->lock);
    return ok && written == std::strlen(line);
}

constexpr const char kRetryLine[] = "written once the fault is gone\n";

// The log file the retry wrote to holds its line.
void ExpectRetryLine(Point& point, World& world)
{
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(world.LogDirectory(), error)) {
        std::ifstream file(entry.path());
        const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        if (text.find(kRetryLine) != std::string::npos) return;
    }
    point.Wrong("no log file holds the line written");
}

// (d) A component asks how it logs, which opens the log file, and writes a
// line into it.
void LogSetting(Point& point, World& world)
{
    world.LoadClient();
    world.Use(kSectionId);
    world.SetLogRoot();
    IProviderProbe* component = world.Keep(kSectionId);
    LogQuery query{};
    point.Armed([&] {
        component->QueryLog(&query);
        WriteLogLine(query.info, "written under the fault\n");
    });
    // The component's own factory may not have been had: it then asked
    // nothing. Otherwise the record comes whether or not a file opened.
    const bool asked = query.info != nullptr || query.logFileMask != 0;
    if (asked && (query.logFileMask != 1 || query.debugOutputMask != 0 || query.info == nullptr)) {
        point.Wrong("log setting " + std::to_string(query.debugOutputMask) + "/" +
                    std::to_string(query.logFileMask) + (query.info == nullptr ? " without the record" : ""));
    }
    LogQuery again{};
    component->QueryLog(&again);
    if (asked && query.info != nullptr && again.info != query.info) point.Wrong("a second log record");
    if (!WriteLogLine(again.info, kRetryLine)) return point.Unrecovered("the log file", std::string());
    ExpectRetryLine(point, world);
}

// (e) Idle modules, a section's and a scanned one, unloaded at the timer's
// tick, then asked for again.
void IdleModules(Point& point, World& world)
{
    world.LoadClient();
    world.SetLogRoot();
    world.Use(kSectionId);
    world.SetRegistry(kPlugins);
    world.Use(kScannedId);
    ProbeReport section{};
    ProbeReport scanned{};
    point.Armed([&] {
        World::DispatchUntilUnloaded({kSectionModule, kScannedModule}, 1000);
        world.SetRegistry("");
        section = world.Use(kSectionId);
        world.SetRegistry(kPlugins);
        scanned = world.Use(kScannedId);
    });
    ExpectComponentOrNull(point, section, kAlphaTag, "", "section request");
    ExpectComponentOrNull(point, scanned, kBetaTag, kPlugins, "scanned request");
    AskAgain(point, world, kSectionId, kAlphaTag, "", "the section's component");
    AskAgain(point, world, kScannedId, kBetaTag, kPlugins, "the scanned component");
    // Whatever the fault did, no reference to them stays behind.
    if (!World::DispatchUntilUnloaded({kSectionModule, kScannedModule}, 1500)) {
        point.Wrong("an idle module stays loaded");
    }
}

// Old log files with last-write times a day apart, the oldest first.
constexpr int kOldLogFiles = 5;
void MakeOldLogFiles(World& world)
{
    std::filesystem::create_directories(world.LogDirectory());
    for (int i = 1; i <= kOldLogFiles; ++i) {
        const std::filesystem::path path = world.LogDirectory() + "/old" + std::to_string(i) + ".log";
        std::ofstream(path) << "old\n";
        std::filesystem::last_write_time(
            path, std::filesystem::file_time_type::clock::now() - std::chrono::hours(24 * (kOldLogFiles + 1 - i)));
    }
}

// (f) Shutdown: components and shared instances released, the factory
// ended, its log file closed and old ones pruned to "MaxFileCount" 3.
void Shutdown(Point& point, World& world)
{
    world.LoadClient();
    world.Use(kSectionId);
    world.SetLogRoot();
    MakeOldLogFiles(world);
    IProviderProbe* component = world.Keep(kSectionId);
    LogQuery query{};
    component->QueryLog(&query);
    WriteLogLine(query.info, kRetryLine);
    world.Use(kSharedId);
    world.SetRegistry(kPlugins);
    world.Use(kScannedId);
    point.Armed([&] { world.Shutdown(); });
    // The newest three stay: the file just written and the two newest old
    // ones. The older ones go, unless the fault kept them.
    ExpectRetryLine(point, world);
    for (const char* name : {"old4.log", "old5.log"}) {
        if (!std::filesystem::exists(world.LogDirectory() + "/" + name)) point.Wrong(std::string("deleted ") + name);
    }
    if (point.Failed() == CallKind::None) {
        for (const char* name : {"old1.log", "old2.log", "old3.log"}) {
            if (std::filesystem::exists(world.LogDirectory() + "/" + name)) point.Wrong(std::string("kept ") + name);
        }
    }
}

const std::map<std::string, Scenario>& Scenarios()
{
    static const std::map<std::string, Scenario> scenarios = {
        {"a", FirstRequest}, {"b", SecondConfiguration}, {"c", RepeatedRequests},
        {"d", LogSetting},   {"e", IdleModules},         {"f", Shutdown},
    };
    return scenarios;
}

}  // namespace

Scenario FindScenario(const std::string& name)
{
    const auto found = Scenarios().find(name);
    return found != Scenarios().end() ? found->second : nullptr;
}

const std::vector<std::string>& ScenarioNames()
{
    static const std::vector<std::string> names = {"a", "b", "c", "d", "e", "f"};
    return names;
}

}  // namespace Faults
}  // namespace Orvik
