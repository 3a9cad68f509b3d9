// text_host: a program built on the installed framework. It runs one
// scenario, named by its argument, and exits with 0 when every check held.
//   components  the app module and, through the factory, the text tool
//               are obtained and work; the framework's version is the
//               package's
//   unload      the text tool's module leaves the process once idle and
//               comes back at the next request

#include <cstdio>
#include <cstring>

#include "orvik/host/app_host.h"
#include "orvik/host/debug_printer.h"
#include "orvik/module/version.h"
#include "orvik/platform/module_loader.h"
#include "orvik/platform/thread_timer.h"
#include "text_interfaces.h"

namespace {

using Downstream::ITextApp;
namespace Platform = Orvik::Platform;

int g_failures = 0;

void Check(bool passed, const char* what)
{
    std::printf("%s %s\n", passed ? "ok:" : "FAILED:", what);
    if (!passed) ++g_failures;
}

bool IsLoaded(const char* module) { return Platform::FindLoadedModule(module) != nullptr; }

bool Shouts(ITextApp& app)
{
    char text[32] = {};
    return app.Shout("hello", text, sizeof text) == 5 && std::strcmp(text, "HELLO") == 0;
}

void Components(ITextApp& app)
{
    Check(std::strcmp(ORVIK_VERSION_STRING, ORVIK_PACKAGE_VERSION) == 0, "the version header is the package's");
    Check(Shouts(app), "the app capitalized through the text tool");
    Check(IsLoaded("OrvFact.dll"), "the factory module was found through Orvik.ini");
    Check(IsLoaded("TextTool.dll"), "the text tool's module was loaded through its section");
}

void Unload(ITextApp& app)
{
    Check(Shouts(app), "the app capitalized through the text tool");
    // Idle modules are tried 100 ms after they report.
    Platform::DispatchMessagesFor(400);
    Check(!IsLoaded("TextTool.dll"), "the idle text tool's module left the process");
    Check(Shouts(app), "the next request loaded it again");
    Check(IsLoaded("TextTool.dll"), "it is back");
}

}  // namespace

int main(int argc, char** argv)
{
    const char* scenario = argc > 1 ? argv[1] : "";
    Orvik::Host::PrintDebugOutput(stdout, "[debug] ");
    {
        Orvik::Host::AppHost host("TextApp.dll");
        ITextApp* app = host.Create<ITextApp>();
        Check(app != nullptr, "loaded TextApp.dll and created its app component");
        if (app != nullptr && std::strcmp(scenario, "components") == 0) {
            Components(*app);
        } else if (app != nullptr && std::strcmp(scenario, "unload") == 0) {
            Unload(*app);
        } else if (app != nullptr) {
            Check(false, "a known scenario: components or unload");
        }
        Check(host.Shutdown(), "shut the factory down");
    }
    std::fflush(stdout);
    return g_failures == 0 ? 0 : 1;
}
