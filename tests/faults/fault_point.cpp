#include "tests/faults/fault_point.h"

#include <cstdio>
#include <cstring>

namespace Orvik {
namespace Faults {

void Point::Armed(const std::function<void()>& part)
{
    ExpectQuiet("before the armed part");
    Arm(failAt_);
    part();
    Disarm();
    calls_ = CountedCalls();
    failed_ = FailedKind();
    if (failed_ != CallKind::None) {
        failedCall_ = std::string(KindName(failed_)) + " from " + FailedCaller();
        if (FailedPath()[0] != '\0') failedCall_ += std::string(" on ") + FailedPath();
    }
    armedLines_ = lines_.Take();
    for (const std::string& line : armedLines_) {
        const std::string why = JudgeFailureLine(line, failed_);
        if (!why.empty()) Wrong("line \"" + line + "\": " + why);
    }
}

void Point::ExpectQuiet(const char* when)
{
    for (const std::string& line : lines_.Take()) Wrong(std::string("line \"") + line + "\" " + when);
}

void Point::SettleRetries()
{
    if (!unrecovered_) return ExpectQuiet("once the fault was gone");
    for (const std::string& line : lines_.Take()) {
        if (!JudgeFailureLine(line, CallKind::None).empty()) Wrong("line \"" + line + "\" once the fault was gone");
    }
}

void Point::Wrong(const std::string& what) { findings_.push_back("wrong " + what); }

void Point::Unrecovered(const std::string& what, const std::string& prescribed)
{
    unrecovered_ = true;
    findings_.push_back((prescribed.empty() ? "unrecovered " : "prescribed ") + what +
                        (prescribed.empty() ? std::string() : ": " + prescribed));
}

bool Point::FailedReading(const char* configFile) const
{
    if (failed_ == CallKind::Allocation) return true;
    const size_t length = std::strlen(FailedPath());
    const size_t nameLength = std::strlen(configFile);
    return (failed_ == CallKind::Open || failed_ == CallKind::Read || failed_ == CallKind::Stat) &&
           length >= nameLength && std::strcmp(FailedPath() + length - nameLength, configFile) == 0;
}

void Point::Report() const
{
    std::printf("calls %llu\n", static_cast<unsigned long long>(calls_));
    if (failed_ != CallKind::None) std::printf("failed %s\n", failedCall_.c_str());
    for (const std::string& finding : findings_) {
        std::string line = finding;
        for (char& c : line) {
            if (c == '\n') c = ' ';
        }
        std::printf("%s\n", line.c_str());
    }
    std::printf("done\n");
    std::fflush(stdout);
}

}  // namespace Faults
}  // namespace Orvik
