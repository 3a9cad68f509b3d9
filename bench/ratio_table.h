#pragma once
// The results of one run, and the table of ratios drawn from them with the
// targets each ratio is held to.

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace Orvik::Bench {

struct Result {
    double seconds = 0;  // per iteration: the median over repetitions when repeated
    std::map<std::string, double> counters;
    std::string error;
};

// Passes every run on to the console and keeps one result per benchmark.
class CollectingReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override;
    const std::map<std::string, Result>& results() const { return results_; }

private:
    std::map<std::string, Result> results_;
};

// Prints the table; true when every target holds.
bool PrintRatioTable(const std::map<std::string, Result>& results, int loadedObjectsAtStart);

}  // namespace Orvik::Bench
