#pragma once
// Selects a code page for one test and goes back to the start-up one.

#include "platform/multibyte.h"

namespace Orvik {
namespace Testing {

class CodePageScope {
public:
    explicit CodePageScope(int codePage) : ok_(Platform::SelectCodePage(codePage)) {}
    ~CodePageScope() { Platform::SelectCodePage(Platform::kStartupCodePage); }
    CodePageScope(const CodePageScope&) = delete;
    CodePageScope& operator=(const CodePageScope&) = delete;
    bool ok() const { return ok_; }

private:
    bool ok_;
};

}  // namespace Testing
}  // namespace Orvik
