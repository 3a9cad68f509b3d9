// Two modules that each use the platform layer see one state: the code page,
// the debug sink and the thread timers belong to the process.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orvik/platform/debug_output.h"
#include "orvik/platform/module_loader.h"
#include "platform/multibyte.h"
#include "orvik/platform/thread_timer.h"
#include "tests/support/test_paths.h"

namespace Orvik {
namespace {

class SharedPlatformState : public ::testing::Test {
protected:
    void SetUp() override
    {
        a_ = Platform::LoadModule((Testing::ProgramDirectory() + "\\probe_a.dll").c_str());
        b_ = Platform::LoadModule((Testing::ProgramDirectory() + "\\probe_b.dll").c_str());
        ASSERT_NE(a_, nullptr);
        ASSERT_NE(b_, nullptr);
        ASSERT_NE(a_, b_);
    }
    void TearDown() override
    {
        Platform::ReleaseModule(a_);
        Platform::ReleaseModule(b_);
    }
    template <typename Function>
    Function Export(Platform::ModuleHandle module, const char* name)
    {
        return reinterpret_cast<Function>(Platform::FindExport(module, name));
    }
    Platform::ModuleHandle a_ = nullptr;
    Platform::ModuleHandle b_ = nullptr;
};

TEST_F(SharedPlatformState, CodePageChosenByOneModuleHoldsForAll)
{
    auto selectInA = Export<int (*)(int)>(a_, "ProbeSelectCodePage");
    auto leadInB = Export<int (*)(int)>(b_, "ProbeIsLeadByte");
    ASSERT_TRUE(selectInA(932));
    EXPECT_TRUE(leadInB(0x81));
    EXPECT_TRUE(Platform::IsLeadByte(0x81));
    ASSERT_TRUE(selectInA(Platform::kSingleByteCodePage));
    EXPECT_FALSE(leadInB(0x81));
}

void Collect(const char* text, void* context) { static_cast<std::vector<std::string>*>(context)->push_back(text); }

TEST_F(SharedPlatformState, SinkOfTheHostReceivesEveryModulesLines)
{
    std::vector<std::string> lines;
    Platform::SetDebugSink(Collect, &lines);
    Export<void (*)(const char*)>(a_, "ProbeWriteDebug")("from a\n");
    Export<void (*)(const char*)>(b_, "ProbeWriteDebug")("from b\n");
    Platform::SetDebugSink(nullptr, nullptr);
    EXPECT_EQ(lines, (std::vector<std::string>{"from a\n", "from b\n"}));
}

TEST_F(SharedPlatformState, TimerOfAModuleTicksInTheHostsDispatch)
{
    const uintptr_t id = Export<uintptr_t (*)(unsigned)>(a_, "ProbeStartTimer")(10);
    ASSERT_NE(id, 0u);
    Platform::DispatchMessagesFor(100);
    EXPECT_GE(Export<int (*)()>(a_, "ProbeTicks")(), 1);
    EXPECT_EQ(Export<int (*)()>(b_, "ProbeTicks")(), 0);
    EXPECT_TRUE(Platform::StopThreadTimer(id));
}

}  // namespace
}  // namespace Orvik
