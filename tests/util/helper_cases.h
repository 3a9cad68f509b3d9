#pragma once
// Table-driven checks for the helpers that write text into a destination.
// A case names an operation, its inputs and the destination's size, what the
// operation answers and the text it leaves in a destination that starts as
// "old"; nothing at or past the size may change.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace Orvik::Testing {

// Texts a and b and a count n, as the operation takes them.
using HelperFn = int (*)(const char* a, const char* b, int n, char* dst, int size);

struct HelperOp {
    const char* name;
    HelperFn forms[2];  // the template form, the bootstrap form; either may be null
};

struct HelperCase {
    const HelperOp* op;
    const char* a;
    const char* b;
    int size;
    int result;
    const char* dst;
    int n = 0;
};

template <size_t N>
void CheckCases(const HelperCase (&cases)[N])
{
    for (const HelperCase& c : cases) {
        for (int form = 0; form < 2; ++form) {
            if (c.op->forms[form] == nullptr) continue;
            SCOPED_TRACE(::testing::Message() << c.op->name << (form == 0 ? " (template)" : " (bootstrap)") << " a "
                                              << (c.a ? c.a : "null") << " b " << (c.b ? c.b : "null") << " n " << c.n
                                              << " size " << c.size);
            char dst[40];
            std::memset(dst, '#', sizeof dst);
            std::strcpy(dst, "old");
            EXPECT_EQ(c.result, c.op->forms[form](c.a, c.b, c.n, dst, c.size));
            EXPECT_STREQ(c.dst, dst);
            const size_t reach = static_cast<size_t>(std::max(4, c.size));
            EXPECT_EQ(std::string(sizeof dst - reach, '#'), std::string(dst + reach, sizeof dst - reach));
        }
    }
}

// Each form of each operation refuses a null destination.
inline void CheckNullDestinationRefused(std::initializer_list<const HelperOp*> ops)
{
    for (const HelperOp* op : ops) {
        for (HelperFn form : op->forms) {
            if (form == nullptr) continue;
            EXPECT_EQ(0, form("a", "b", 1, nullptr, 8)) << op->name;
        }
    }
}

}  // namespace Orvik::Testing
