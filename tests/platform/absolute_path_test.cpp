// Paths from outside the framework (a command line) in the framework's
// absolute form.

#include "platform/absolute_path.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/test_paths.h"

namespace Orvik {
namespace {

std::string Absolute(const std::string& path)
{
    char buffer[Platform::kMaxPath] = "x";
    if (!Platform::GetAbsoluteFrameworkPath(path.c_str(), buffer, sizeof buffer)) {
        EXPECT_STREQ(buffer, "") << "a failure leaves the buffer empty";
        return "(failed)";
    }
    return buffer;
}

TEST(AbsolutePath, CompletesRelativePathsWithTheCurrentDirectory)
{
    const std::string current = Testing::FrameworkPath(std::filesystem::current_path());
    EXPECT_EQ(Absolute(""), current);
    EXPECT_EQ(Absolute("."), current);
    EXPECT_EQ(Absolute("conf/a.ini"), current + "\\conf\\a.ini");
    EXPECT_EQ(Absolute("conf/./b/../a.ini"), current + "\\conf\\a.ini");
    EXPECT_EQ(Absolute("conf/"), current + "\\conf");
    const std::string absolute = Testing::FrameworkPath(std::filesystem::temp_directory_path() / "x.ini");
    EXPECT_EQ(Absolute(Testing::NativePath(absolute).string()), absolute);
}

TEST(AbsolutePath, RefusesWhatDoesNotFit)
{
    EXPECT_EQ(Absolute(std::string(300, 'a')), "(failed)");
    char small[4] = "x";
    EXPECT_FALSE(Platform::GetAbsoluteFrameworkPath("a.ini", small, sizeof small));
    EXPECT_STREQ(small, "");
}

}  // namespace
}  // namespace Orvik
