#include "module/debug_line.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/debug_output.h"

namespace Orvik {
namespace {

void Collect(const char* text, void* lines) { static_cast<std::vector<std::string>*>(lines)->push_back(text); }

TEST(DebugLine, FormatsCutsAt1023AndAddsNothing)
{
    std::vector<std::string> lines;
    Platform::SetDebugSink(Collect, &lines);
    OutputDebugLine("Orvik[Error]: ComponentID=%d CreatorID=%u", -5, 361u);
    OutputDebugLine("100%% plain\n");
    OutputDebugLine("%s", std::string(2000, 'a').c_str());
    OutputDebugLine("%s", std::string(1023, 'b').c_str());
    Platform::SetDebugSink(nullptr, nullptr);

    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], "Orvik[Error]: ComponentID=-5 CreatorID=361");
    EXPECT_EQ(lines[1], "100% plain\n");
    EXPECT_EQ(lines[2], std::string(1023, 'a'));
    EXPECT_EQ(lines[3], std::string(1023, 'b'));
}

}  // namespace
}  // namespace Orvik
