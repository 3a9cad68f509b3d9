#pragma once
// Collects the debug lines every module of the process writes while it
// lives, and puts the sink that was installed before back when it goes.

#include <string>
#include <vector>

#include "orvik/platform/debug_output.h"

namespace Orvik {
namespace Tools {

class CapturedLines {
public:
    CapturedLines()
    {
        Platform::GetDebugSink(&previous_, &previousContext_);
        Platform::SetDebugSink(Collect, this);
    }
    ~CapturedLines() { Platform::SetDebugSink(previous_, previousContext_); }
    CapturedLines(const CapturedLines&) = delete;
    CapturedLines& operator=(const CapturedLines&) = delete;

    const std::vector<std::string>& lines() const { return lines_; }

private:
    static void Collect(const char* text, void* self) { static_cast<CapturedLines*>(self)->lines_.push_back(text); }

    Platform::DebugSink previous_ = nullptr;
    void* previousContext_ = nullptr;
    std::vector<std::string> lines_;
};

}  // namespace Tools
}  // namespace Orvik
