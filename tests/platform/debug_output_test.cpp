#include "orvik/platform/debug_output.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace Orvik {
namespace {

void Collect(const char* text, void* context) { static_cast<std::vector<std::string>*>(context)->push_back(text); }

TEST(DebugOutput, AnInstalledSinkReceivesEveryTextVerbatim)
{
    std::vector<std::string> lines;
    Platform::SetDebugSink(Collect, &lines);
    Platform::WriteDebugString("Orvik[Error]: first\n");
    Platform::WriteDebugString("no line end");
    Platform::WriteDebugString("");
    std::thread([] { Platform::WriteDebugString("from another thread\n"); }).join();
    Platform::SetDebugSink(nullptr, nullptr);
    Platform::WriteDebugString("after removal\n");  // goes to the default output

    EXPECT_EQ(lines, (std::vector<std::string>{"Orvik[Error]: first\n", "no line end", "", "from another thread\n"}));
}

TEST(DebugOutput, ATemporarySinkCanPutThePreviousOneBack)
{
    std::vector<std::string> outer;
    std::vector<std::string> inner;
    Platform::SetDebugSink(Collect, &outer);
    Platform::DebugSink previous = nullptr;
    void* previousContext = nullptr;
    Platform::GetDebugSink(&previous, &previousContext);
    Platform::SetDebugSink(Collect, &inner);
    Platform::WriteDebugString("inner\n");
    Platform::SetDebugSink(previous, previousContext);
    Platform::WriteDebugString("outer\n");
    Platform::SetDebugSink(nullptr, nullptr);
    Platform::GetDebugSink(&previous, &previousContext);

    EXPECT_EQ(inner, std::vector<std::string>{"inner\n"});
    EXPECT_EQ(outer, std::vector<std::string>{"outer\n"});
    EXPECT_EQ(previous, nullptr);
    EXPECT_EQ(previousContext, nullptr);
}

}  // namespace
}  // namespace Orvik
