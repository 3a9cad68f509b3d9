// A module whose exports' unit has stdcall as its default calling convention
// (on 32-bit Windows; elsewhere the same module is built as usual) serves
// the factory through a section and through a scan, and leaves once it has
// no live component.

#include <ostream>

#include "tests/factory/factory_fixture.h"

namespace Orvik::Testing {
namespace {

enum class Found { BySection, ByScan };

void PrintTo(Found found, std::ostream* out) { *out << (found == Found::BySection ? "section" : "scan"); }

class StdcallModule : public FactoryTest, public ::testing::WithParamInterface<Found> {};

TEST_P(StdcallModule, ServesTheFactoryAndLeavesWhenIdle)
{
    const std::string registry = WriteConfig(
        "stdcall.ini", GetParam() == Found::BySection ? "[8209]\ndll=fact_stdcall.dll\n" : "dlls=fact_stdcall.dll\n");
    SetRegistry(registry);
    const ProbeReport report = Use(kStdcallId);
    EXPECT_EQ(report.tag, kStdcallTag);
    EXPECT_EQ(report.registryPath, registry);

    IOrvikComponentFactory* factory = Factory();
    IProviderProbe* kept = client_->Keep(kStdcallId);
    ASSERT_NE(kept, nullptr);
    const Platform::ModuleHandle module = Platform::FindLoadedModule("fact_stdcall.dll");
    EXPECT_EQ(factory->TryUnloadModule(module), 0) << "a live component";
    EXPECT_TRUE(IsLoaded("fact_stdcall.dll"));

    kept->Release(0);
    EXPECT_EQ(factory->TryUnloadModule(module), 1);
    EXPECT_FALSE(IsLoaded("fact_stdcall.dll"));
    EXPECT_EQ(debug_.Take(), Lines{});
}

INSTANTIATE_TEST_SUITE_P(Paths, StdcallModule, ::testing::Values(Found::BySection, Found::ByScan),
                         [](const ::testing::TestParamInfo<Found>& found) {
                             return found.param == Found::BySection ? "BySection" : "ByScan";
                         });

}  // namespace
}  // namespace Orvik::Testing
