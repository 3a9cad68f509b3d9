// The key comparison of the configuration parser, byte by byte: every key
// length the file format has, each byte in either case, and each byte
// changed.

#include <gtest/gtest.h>

#include <string>

#include "catalog/config_text.h"

namespace Orvik {
namespace {

const char* const kNames[] = {"outputdebugstring", "writetologfile", "dllpath",      "dll",  "notusedefaultdllpath",
                              "defaultdll",        "dlls",           "preload",      "maxfilecount", "maxfilesize",
                              "ab",                "a",              "abcdefgh",     "abcdefghi"};

bool Same(const std::string& key, const char* name) { return ConfigText::SameKey(key.data(), key.size(), name); }

TEST(ConfigText, KeysMatchTheirNameInAnyCaseByteByByte)
{
    for (const char* name : kNames) {
        const std::string lower = name;
        EXPECT_TRUE(Same(lower, name)) << name;
        std::string upper = lower;
        for (char& c : upper) c = static_cast<char>(c - 'a' + 'A');
        EXPECT_TRUE(Same(upper, name)) << name;
        for (size_t i = 0; i < lower.size(); ++i) {
            std::string oneUpper = lower;
            oneUpper[i] = upper[i];
            EXPECT_TRUE(Same(oneUpper, name)) << name << " upper at " << i;
        }
    }
}

TEST(ConfigText, AnyOtherByteOrLengthIsAnotherKey)
{
    for (const char* name : kNames) {
        const std::string lower = name;
        for (size_t i = 0; i < lower.size(); ++i) {
            // The next letter, the byte just below the letter's upper case
            // ('@' for 'a'), a blank and a lead byte.
            for (const char other : {static_cast<char>(lower[i] == 'z' ? 'a' : lower[i] + 1),
                                     static_cast<char>((lower[i] & ~0x20) - 1), ' ', '\x81'}) {
                std::string changed = lower;
                changed[i] = other;
                EXPECT_FALSE(Same(changed, name)) << name << " changed at " << i << " to " << int{other};
            }
        }
        EXPECT_FALSE(Same(lower.substr(0, lower.size() - 1), name)) << name;
        EXPECT_FALSE(Same(lower + "s", name)) << name;
    }
    EXPECT_FALSE(Same("", "dll"));
}

}  // namespace
}  // namespace Orvik
