#include "orvik/platform/local_time.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>

namespace Orvik {
namespace {

TEST(LocalTime, FormatsTheCurrentTimeStamp)
{
    char stamp[260];
    ASSERT_EQ(Platform::FormatLocalTime(stamp, sizeof stamp, "%Y%m%d_%H%M%S"), 15u);
    const std::string text(stamp);
    for (size_t i = 0; i < text.size(); ++i) {
        EXPECT_TRUE(i == 8 ? text[i] == '_' : std::isdigit(static_cast<unsigned char>(text[i]))) << text;
    }
    EXPECT_GE(std::stoi(text.substr(0, 4)), 2020);
    EXPECT_EQ(Platform::FormatLocalTime(stamp, 10, "%Y%m%d_%H%M%S"), 0u) << "does not fit";
}

}  // namespace
}  // namespace Orvik
