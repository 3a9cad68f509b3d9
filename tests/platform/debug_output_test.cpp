#include "platform/debug_output.h"

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

}  // namespace
}  // namespace Orvik
