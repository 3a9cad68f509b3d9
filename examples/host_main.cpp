// orvik_example: a host program and its component modules.
//
// The host is not a component module and has no bootstrap of its own.
// Through Orvik::Host::AppHost it loads its app module by name, asks the
// module for the app component and, at the end, shuts the factory down; the
// app reaches everything else through the factory. What stays with the host
// is what only a program can do: dispatch its thread's messages, which
// drives the unloading of idle modules.
//
// Exits with 0 when every check passed.

#include <cstdio>
#include <string>

#include "example_interfaces.h"
#include "host_support.h"
#include "orvik/host/app_host.h"
#include "orvik/host/debug_printer.h"
#include "orvik/module/version.h"
#include "orvik/platform/file_system.h"
#include "orvik/platform/module_loader.h"
#include "orvik/platform/thread_timer.h"

namespace {

using namespace Example;
namespace Platform = Orvik::Platform;

// Idle modules are tried 100 ms after they report; this leaves a margin.
constexpr uint32_t kUnloadWaitMs = 400;
constexpr int kMaxLogFiles = 3;  // MaxFileCount in Orvik.ini

int g_failures = 0;

void Step(const char* title) { std::printf("\n== %s\n", title); }

void Check(bool passed, const char* what)
{
    std::printf("  %s %s\n", passed ? "ok:" : "FAILED:", what);
    if (!passed) ++g_failures;
}

void PrintIndented(const std::string& text)
{
    size_t start = 0;
    while (start < text.size()) {
        const size_t end = text.find('\n', start);
        const size_t length = (end == std::string::npos ? text.size() : end) - start;
        std::printf("    | %s\n", text.substr(start, length).c_str());
        start += length + 1;
    }
}

bool IsLoaded(const char* module) { return Platform::FindLoadedModule(module) != nullptr; }

void WaitForIdleModules()
{
    std::printf("  dispatching this thread's messages for %u ms\n", kUnloadWaitMs);
    Platform::DispatchMessagesFor(kUnloadWaitMs);
}

void Walkthrough(IExampleApp& app, const std::string& logRoot)
{
    Step("Log files below a root path of the host's choosing");
    Check(app.UseLogRoot(logRoot.c_str()) != 0, "the app set the factory's root path");
    Check(IsLoaded("OrvFact.dll"), "the app's module found and loaded OrvFact.dll through Orvik.ini");

    Step("A component from the module its own section names ([5100] dll)");
    Check(app.GreetThroughSection("world") != 0, "Greeter.dll greeted");
    Check(IsLoaded("Greeter.dll"), "Greeter.dll is still loaded: its last component is gone, it waits for the timer");

    Step("An idle module is unloaded while the host dispatches messages");
    WaitForIdleModules();
    Check(!IsLoaded("Greeter.dll"), "Greeter.dll has left the process");
    Check(app.GreetThroughSection("again") != 0, "the next request loads it again");
    Check(IsLoaded("Greeter.dll"), "Greeter.dll is back");
    WaitForIdleModules();
    Check(!IsLoaded("Greeter.dll"), "and gone again once idle");

    Step("A component from the default module (defaultdll)");
    Check(app.AddThroughDefaultModule() != 0, "Services.dll served an id that no section names");

    Step("A component from a scanned module (dlls, in Plugins.ini)");
    Check(app.AddThroughScannedModule() != 0, "the catalog of Plugins.ini found the id by asking Services.dll");

    Step("A shared service: one registered instance for every request");
    Check(app.ShareOneCounter() != 0, "both configurations handed out the same counter");

    Step("A component that nothing provides");
    Check(app.AskForMissingComponent() != 0, "the request gave null; the debug output says why");

    Step("What is loaded and why");
    Check(app.ShowWhatIsLoaded() != 0, "the factory's inspection shows Services.dll and the shared counter");
}

// The app first, then the shared instances, then the factory itself, which
// closes the log file and keeps only the newest MaxFileCount log files.
void Shutdown(Orvik::Host::AppHost& host, const std::string& logRoot)
{
    Step("Shutdown");
    const bool factoryEnded = host.Shutdown();
    Check(factoryEnded, "released the app component, the shared instances and the factory");
    if (!factoryEnded) return;

    const LogFolder logs = InspectLogFolder(logRoot + "\\OrvikLog");
    std::printf("  the log file %s\\OrvikLog\\%s holds:\n", logRoot.c_str(), logs.newestName.c_str());
    PrintIndented(logs.newestText);
    Check(logs.newestText.find("[Greeter] greeted world") != std::string::npos &&
              logs.newestText.find("[Greeter] greeted again") != std::string::npos,
          "the greeter's lines are in the log file");
    Check(logs.fileCount >= 1 && logs.fileCount <= kMaxLogFiles, "at most MaxFileCount log files are kept");
}

}  // namespace

int main()
{
    Orvik::Host::PrintDebugOutput(stdout, "  [debug] ");
    const std::string hostDirectory = Orvik::Host::ProgramDirectory();
    std::printf("Orvik %s example, running in %s\n", ORVIK_VERSION_STRING, hostDirectory.c_str());

    Step("Start");
    // A bare name is looked for in the program's directory first.
    {
        Orvik::Host::AppHost host("ExampleApp.dll");
        auto* app = host.Create<IExampleApp>();
        Check(app != nullptr, "loaded ExampleApp.dll and created its app component");
        if (app != nullptr) {
            const std::string logRoot = hostDirectory + "\\logs";
            Platform::MakeDirectory(logRoot.c_str());  // may exist from an earlier run
            Walkthrough(*app, logRoot);
            Shutdown(host, logRoot);
        }
    }  // the app module goes here, before the summary

    if (g_failures == 0) {
        std::printf("\nEvery step behaved as expected.\n");
    } else {
        std::printf("\n%d checks FAILED.\n", g_failures);
    }
    std::fflush(stdout);
    return g_failures == 0 ? 0 : 1;
}
