#include "orvik/module/debug_line.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/debug_capture.h"

namespace Orvik::Testing {
namespace {

TEST(DebugLine, FormatsCutsAt1023AndAddsNothing)
{
    DebugCapture capture;
    OutputDebugLine("Orvik[Error]: ComponentID=%d CreatorID=%u", -5, 361u);
    OutputDebugLine("100%% plain\n");
    OutputDebugLine("%s", std::string(2000, 'a').c_str());
    OutputDebugLine("%s", std::string(1023, 'b').c_str());
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{"Orvik[Error]: ComponentID=-5 CreatorID=361", "100% plain\n",
                                                         std::string(1023, 'a'), std::string(1023, 'b')}));
}

}  // namespace
}  // namespace Orvik::Testing
