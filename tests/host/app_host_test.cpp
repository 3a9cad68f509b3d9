// The host library as a program uses it: an app module loaded by name, its
// components handed out and released at shutdown, the debugger output
// printed line by line. Ending the factory is shown by the example and the
// downstream project, which run with a real one.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "orvik/host/app_host.h"
#include "orvik/host/debug_printer.h"
#include "orvik/module/module_exports.h"
#include "orvik/platform/debug_output.h"

namespace Orvik::Testing {
namespace {

constexpr ComponentId kPlainId = 201;

// A second reference on the app module keeps it loaded after the host lets
// it go, so its bookkeeping can still be asked.
class AppModuleWatch {
public:
    AppModuleWatch() : module_(Platform::LoadModule("alpha.dll")) {}
    int32_t CanUnloadNow() const { return FindModuleExport<Exports::OrvikDllCanUnloadNow>(module_.get())(); }

private:
    Platform::UniqueModule module_;
};

TEST(AppHost, HandsOutTheAppModulesComponentsAndReleasesThemAtShutdown)
{
    const AppModuleWatch watch;
    Host::AppHost host("alpha.dll");
    ASSERT_TRUE(host.IsLoaded());
    IComponent* first = host.CreateComponent(kPlainId);
    IComponent* second = host.CreateComponent(kPlainId);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(host.CreateComponent(999), nullptr);
    EXPECT_EQ(watch.CanUnloadNow(), 0);

    // Both components released: the module holds none. No module of this
    // process loaded a factory, so there is none to end.
    EXPECT_FALSE(host.Shutdown());
    EXPECT_EQ(watch.CanUnloadNow(), 1);
}

TEST(AppHost, ShutsDownWhenItGoesWithoutShutdown)
{
    const AppModuleWatch watch;
    {
        Host::AppHost host("alpha.dll");
        ASSERT_NE(host.CreateComponent(kPlainId), nullptr);
        EXPECT_EQ(watch.CanUnloadNow(), 0);
    }
    EXPECT_EQ(watch.CanUnloadNow(), 1);
}

TEST(AppHost, WithoutItsModuleMakesNothing)
{
    Host::AppHost host("no_such_app.dll");
    EXPECT_FALSE(host.IsLoaded());
    EXPECT_EQ(host.CreateComponent(kPlainId), nullptr);
    EXPECT_FALSE(host.Shutdown());
}

TEST(DebugPrinter, PrintsEachLineAfterThePrefix)
{
    std::FILE* stream = std::tmpfile();
    ASSERT_NE(stream, nullptr);
    Host::PrintDebugOutput(stream, "> ");
    Platform::WriteDebugString("one\ntwo\n");
    Platform::WriteDebugString("three");
    Platform::SetDebugSink(nullptr, nullptr);

    std::rewind(stream);
    std::string printed;
    for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream)) printed += static_cast<char>(c);
    std::fclose(stream);
    EXPECT_EQ(printed, "> one\n> two\n> three\n");
}

}  // namespace
}  // namespace Orvik::Testing
