#pragma once
// Collects the debugger output of every module of the process while it
// lives: the framework's messages, read back verbatim. Any thread may write;
// lines() and All() are for when the writers are done.

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "orvik/platform/debug_output.h"

namespace Orvik {
namespace Testing {

class DebugCapture {
public:
    DebugCapture() { Platform::SetDebugSink(Collect, this); }
    ~DebugCapture() { Platform::SetDebugSink(nullptr, nullptr); }
    DebugCapture(const DebugCapture&) = delete;
    DebugCapture& operator=(const DebugCapture&) = delete;

    const std::vector<std::string>& lines() const { return lines_; }
    // The lines written since the last call.
    std::vector<std::string> Take()
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        std::vector<std::string> taken;
        taken.swap(lines_);
        return taken;
    }
    std::string All() const
    {
        std::string all;
        for (const std::string& line : lines_) all += line;
        return all;
    }
    size_t Count(const std::string& line) const { return std::count(lines_.begin(), lines_.end(), line); }

private:
    static void Collect(const char* text, void* self)
    {
        auto* capture = static_cast<DebugCapture*>(self);
        const std::lock_guard<std::mutex> guard(capture->mutex_);
        capture->lines_.push_back(text);
    }
    std::mutex mutex_;
    std::vector<std::string> lines_;
};

}  // namespace Testing
}  // namespace Orvik
