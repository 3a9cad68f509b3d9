// Components that throw, seen through the module's exports: nothing thrown
// leaves the module, nothing stops in the debugger, and the module goes on
// serving. An exception that ends the process is named as it goes.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orvik/module/module_exports.h"
#include "tests/module/loaded_module.h"
#include "tests/module/modules/test_probe.h"
#include "tests/support/debug_capture.h"
#include "tests/support/test_paths.h"

namespace Orvik::Testing {
namespace {

using Lines = std::vector<std::string>;

class ThrowingComponents : public ::testing::Test, protected LoadedModule {
protected:
    ThrowingComponents() : LoadedModule("throwing.dll") {}
    void SetUp() override { ASSERT_NE(handle(), nullptr); }
};

TEST_F(ThrowingComponents, ConstructorThatThrowsReadsAsACreatorReturningNull)
{
    DebugCapture capture;
    EXPECT_EQ(Create(301, 361), nullptr);
    EXPECT_EQ(Create(302, 0), nullptr);
    EXPECT_EQ(Create(302, 7), nullptr) << "a singleton that failed is tried again";
    EXPECT_EQ(capture.lines(), (Lines{"Orvik[Error]:CreateComponent method return NULL.\n",
                                      "Orvik[Error]: ComponentID=301 CreatorID=361",
                                      "Orvik[Error]:CreateComponent method return NULL.\n",
                                      "Orvik[Error]: ComponentID=302 CreatorID=0",
                                      "Orvik[Error]:CreateComponent method return NULL.\n",
                                      "Orvik[Error]: ComponentID=302 CreatorID=7"}));
    EXPECT_EQ(CanUnloadNow(), 1) << "nothing half-made is recorded";

    ITestProbe* plain = Create(304);
    ASSERT_NE(plain, nullptr);
    EXPECT_EQ(plain->Tag(), 4);
    plain->Release(0);
    EXPECT_EQ(CanUnloadNow(), 1);
}

TEST_F(ThrowingComponents, FinalisationThatThrowsKeepsTheComponentAlive)
{
    // Component 303 fails to finalise while its auto-release mark is 2.
    ITestProbe* stubborn = Create(303);
    ITestProbe* plain = Create(304);
    ASSERT_NE(stubborn, nullptr);
    ASSERT_NE(plain, nullptr);
    stubborn->SetAutoRelease(2);
    stubborn->Release(0);
    EXPECT_EQ(stubborn->Tag(), 3) << "the release that threw kept it";

    plain->SetAutoRelease(1);
    Get<Exports::OrvikDllFreeMap>()();
    EXPECT_EQ(CanUnloadNow(), 0) << "still there after the map's releases";
    stubborn->SetAutoRelease(0);
    stubborn->Release(0);
    EXPECT_EQ(CanUnloadNow(), 1) << "the other one went with the map, this one now";
}

// Windows modules end with the framework's handler, which names the type
// as the compiler spells it; elsewhere the run-time's own names it.
TEST_F(ThrowingComponents, TerminationNamesTheExceptionAndItsMessage)
{
    EXPECT_DEATH(Create(305), "terminate called after throwing an instance of '.*runtime_error'\n"
                              "  what\\(\\):  cannot go on");
}

}  // namespace
}  // namespace Orvik::Testing
