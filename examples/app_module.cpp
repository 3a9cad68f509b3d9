// ExampleApp.dll: the app component. It reaches every other component
// through TOrvikPtr; its module finds the factory through Orvik.ini in the
// host's directory, like any module that was not handed the factory.

#include <cstdio>
#include <cstring>

#include "orvik/bootstrap/orvik_ptr.h"
#include "example_interfaces.h"
#include "orvik/module/component_impl.h"
#include "orvik/module/factory_inspection.h"

namespace Example {
namespace {

using Orvik::FactoryModuleSource;
using Orvik::IOrvikComponentFactory;
using Orvik::TComponentImpl;
using Orvik::TComponentRegistrar;
using Orvik::TOrvikPtr;

// Prints the factory's snapshot as it arrives, item by item.
class SnapshotPrinter : public Orvik::IOrvikSnapshotVisitor {
public:
    void OnFactory(const Orvik::OrvikFactoryState* state) override
    {
        std::printf("  %u catalogs, %u modules waiting to be unloaded, unload timer %s\n", state->catalogCount,
                    state->pendingCount, state->timerRunning != 0 ? "running" : "stopped");
        std::printf("  log file: %s\n", state->logFile[0] != '\0' ? FileName(state->logFile) : "none yet");
    }
    void OnCatalog(const Orvik::OrvikCatalogState* catalog) override
    {
        std::printf("  catalog %s (%s): %u sections, %u modules\n",
                    catalog->configPath[0] != '\0' ? catalog->configPath : "\"\"", FileName(catalog->configFile),
                    catalog->sectionCount, catalog->moduleCount);
    }
    void OnModule(const Orvik::OrvikModuleState* module) override
    {
        std::printf("    %s, by ", FileName(module->path));
        switch (module->origin) {
        case Orvik::kOrvikOriginSection: std::printf("section [%u]", module->sectionId); break;
        case Orvik::kOrvikOriginScan: std::printf("scan of dlls (%u ids point at it)", module->scannedIds); break;
        case Orvik::kOrvikOriginDefault: std::printf("defaultdll"); break;
        case Orvik::kOrvikOriginPreload: std::printf("preload"); break;
        }
        std::printf("%s\n", module->entryPointsCached != 0 ? ", entry point cached" : "");
        servicesHeld = servicesHeld || std::strcmp(FileName(module->path), "Services.dll") == 0;
    }
    void OnPendingModule(const Orvik::OrvikPendingModule* module) override
    {
        std::printf("  waiting to be unloaded: %s\n", FileName(module->path));
    }
    void OnRegisteredInstance(Orvik::ComponentId id) override
    {
        std::printf("  shared instance of id %u\n", id);
        counterShared = counterShared || id == ICounter::kComponentId;
    }

    bool servicesHeld = false;
    bool counterShared = false;

private:
    static const char* FileName(const char* path)
    {
        const char* name = std::strrchr(path, '\\');
        return name != nullptr ? name + 1 : path;
    }
};

// A request through the second configuration file instead of the module's own.
template <class Interface>
class TPluginsPtr : public TOrvikPtr<Interface, 1> {
public:
    TPluginsPtr() : TOrvikPtr<Interface, 1>(kPluginsConfig, FactoryModuleSource::GivenHandle) {}
};

class CExampleApp : public TComponentImpl<IExampleApp, CExampleApp, IExampleApp::kComponentId, 0, 0> {
public:
    int32_t UseLogRoot(const char* rootPath) override
    {
        TOrvikPtr<IOrvikComponentFactory, 1> factory;
        if (!factory) return 0;
        factory->SetRootPath(rootPath);
        char copied[Orvik::Platform::kMaxPath] = {};
        factory->CopyRootPath(copied);
        std::printf("  the factory's root path is now %s\n", copied);
        return 1;
    }

    int32_t GreetThroughSection(const char* name) override
    {
        // n = 1: the greeter is released when the pointer goes; Greeter.dll
        // then has no component left and tells the factory it is idle.
        TOrvikPtr<IGreeter, 1> greeter;
        if (!greeter) return 0;
        char text[64] = {};
        greeter->Greet(name, text, sizeof text);
        std::printf("  Greeter.dll says: %s\n", text);
        return text[0] != '\0';
    }

    int32_t AddThroughDefaultModule() override
    {
        TOrvikPtr<ICalculator, 1> calculator;
        return ReportSum(calculator.get(), "the default module (defaultdll) of Orvik.ini");
    }

    int32_t AddThroughScannedModule() override
    {
        TPluginsPtr<ICalculator> calculator;
        return ReportSum(calculator.get(), "a module that Plugins.ini lists under dlls");
    }

    int32_t ShareOneCounter() override
    {
        TOrvikPtr<ICounter, 1> first;
        TOrvikPtr<ICounter, 1> second;
        TPluginsPtr<ICounter> third;
        if (!first || !second || !third) return 0;
        const int32_t a = first->Next();
        const int32_t b = second->Next();
        const int32_t c = third->Next();
        std::printf("  three requests, one counter: %d, %d, %d (%s)\n", a, b, c,
                    first.get() == second.get() && second.get() == third.get() ? "same object" : "different objects");
        return first.get() == second.get() && second.get() == third.get() && b == a + 1 && c == b + 1;
    }

    int32_t AskForMissingComponent() override
    {
        TPluginsPtr<IMissing> missing;
        std::printf("  component %u: %s\n", IMissing::kComponentId, missing ? "got one" : "none (null pointer)");
        return !missing;
    }

    int32_t ShowWhatIsLoaded() override
    {
        TOrvikPtr<Orvik::IOrvikInspection, 1> inspection;
        SnapshotPrinter printer;
        if (!inspection || inspection->VisitSnapshot(&printer) == 0) return 0;
        return printer.servicesHeld && printer.counterShared;
    }

    void Uninitialize() override {}

private:
    static int32_t ReportSum(ICalculator* calculator, const char* where)
    {
        if (calculator == nullptr) return 0;
        const int32_t sum = calculator->Add(2, 3);
        std::printf("  2 + 3 = %d, by a calculator from %s\n", sum, where);
        return sum == 5;
    }
};

TComponentRegistrar<CExampleApp> appRegistrar;

}  // namespace
}  // namespace Example
