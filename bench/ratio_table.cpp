#include "bench/ratio_table.h"

#include <cmath>
#include <cstdio>
#include <functional>
#include <set>

#include "bench/bench_names.h"

namespace Orvik::Bench {

void CollectingReporter::ReportRuns(const std::vector<Run>& runs)
{
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
        const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
        const bool single = run.run_type == Run::RT_Iteration && run.repetitions <= 1;
        if (!median && !single && !run.error_occurred) continue;
        Result& result = results_[run.run_name.function_name];
        if (run.error_occurred) {
            result.error = run.error_message;
            continue;
        }
        // In-process benchmarks count the processor time of their thread,
        // which other programs on the machine inflate less than the time on
        // the clock; the others the time their child process reports.
        const bool manual = run.run_name.time_type == "manual_time";
        const double time = manual ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime();
        result.seconds = time / benchmark::GetTimeUnitMultiplier(run.time_unit);
        for (const auto& counter : run.counters) result.counters[counter.first] = counter.second.value;
    }
}

namespace {

enum class Target { None, AtMost, AtLeast, Within };

struct Row {
    std::string label;
    Target target;
    double bound;
    std::function<double()> value;
};

class Figures {
public:
    explicit Figures(const std::map<std::string, Result>& results) : results_(results) {}

    // Seconds per operation; NaN, with the reason kept, when the benchmark
    // failed or did not run.
    double Time(const std::string& name) const
    {
        const Result* result = Find(name);
        return result != nullptr ? result->seconds : NAN;
    }
    // A request's time over that of its floor (or gauge), timed right after it.
    double OverFloor(const std::string& name, const char* floor = kFloorSeconds) const
    {
        return Time(name) / Counter(name, floor);
    }
    double Counter(const std::string& name, const char* counter) const
    {
        const Result* result = Find(name);
        if (result == nullptr) return NAN;
        const auto found = result->counters.find(counter);
        return found != result->counters.end() ? found->second : NAN;
    }
    const std::set<std::string>& missing() const { return missing_; }

private:
    const Result* Find(const std::string& name) const
    {
        const auto found = results_.find(name);
        if (found == results_.end()) {
            missing_.insert(name + ": did not run");
            return nullptr;
        }
        if (!found->second.error.empty()) {
            missing_.insert(name + ": " + found->second.error);
            return nullptr;
        }
        return &found->second;
    }

    const std::map<std::string, Result>& results_;
    mutable std::set<std::string> missing_;
};

std::string TargetText(Target target, double bound)
{
    char text[32];
    switch (target) {
    case Target::AtMost: std::snprintf(text, sizeof text, "<= %.2f", bound); return text;
    case Target::AtLeast: std::snprintf(text, sizeof text, ">= %.2f", bound); return text;
    case Target::Within: std::snprintf(text, sizeof text, "1 +- %.2f", bound); return text;
    case Target::None: break;
    }
    return "";
}

bool Holds(Target target, double bound, double value)
{
    switch (target) {
    case Target::AtMost: return value <= bound;
    case Target::AtLeast: return value >= bound;
    case Target::Within: return std::fabs(value - 1.0) <= bound;
    case Target::None: break;
    }
    return true;
}

}  // namespace

bool PrintRatioTable(const std::map<std::string, Result>& results, int loadedObjectsAtStart)
{
    const Figures f(results);
    auto at = [](const char* base, const Crowding& crowding) { return NameAt(base, crowding); };
    const std::string inModule = at(kInModuleFloor, kQuiet), cross = at(kCrossModuleFloor, kQuiet),
                      lookups = at(kExportLookups, kQuiet);

    // Requests are set against the floor timed with them; two requests under
    // different crowding, each against its own floor, or its gauge where it
    // has one.
    auto flat = [&](const char* base, const Crowding& crowded, const Crowding& quiet, const char* floor) {
        return f.OverFloor(at(base, crowded), floor) / f.OverFloor(at(base, quiet), floor);
    };
    const std::vector<Row> rows = {
        {"section-module request (TOrvikPtr) / (cross-module floor + three export lookups)", Target::AtMost, 1.3,
         [&] { return f.OverFloor(at(kSectionPtr, kQuiet)); }},
        {"section-module request (TOrvikPtr): 200 / 18 loaded objects", Target::Within, 0.1,
         [&] { return flat(kSectionPtr, kManyObjects, kQuiet, kFloorSeconds); }},
        {"scanned-module request (TOrvikPtr) / cross-module floor", Target::AtMost, 1.5,
         [&] { return f.OverFloor(at(kScannedPtr, kQuiet)); }},
        {"registered-instance request (TOrvikPtr) / in-module floor", Target::AtMost, 0.3,
         [&] { return f.OverFloor(at(kRegisteredPtr, kQuiet)); }},
        {"registered-instance request (TOrvikPtr): 1000 / 10 registered, each over a held call", Target::Within, 0.1,
         [&] { return flat(kRegisteredPtr, kManyInstances, kManyObjects, kGaugeSeconds); }},
        {"new catalog of 500 KB: MB/s / reading the file's MB/s", Target::AtLeast, 0.3,
         [&] { return 1 / f.Counter(kCatalogParse, kPairRatio); }},
        {"new catalog of 20 MB: peak memory / file size", Target::AtMost, 4.0,
         [&] { return f.Counter(kCatalogMemory, kPeakBytes) / f.Counter(kCatalogMemory, kFileBytes); }},
        {"cold start, 50 scanned modules / loading them only", Target::AtMost, 1.2,
         [&] { return f.Counter(kStartFactory, kPairRatio); }},

        {"three export lookups / cross-module floor", Target::None, 0,
         [&] { return f.Time(lookups) / f.Time(cross); }},
        {"section-module request without TOrvikPtr / (cross-module floor + lookups)", Target::None, 0,
         [&] { return f.OverFloor(at(kSectionDirect, kQuiet)); }},
        {"scanned-module request without TOrvikPtr / cross-module floor", Target::None, 0,
         [&] { return f.OverFloor(at(kScannedDirect, kQuiet)); }},
        {"registered-instance request without TOrvikPtr / in-module floor", Target::None, 0,
         [&] { return f.OverFloor(at(kRegisteredDirect, kQuiet)); }},
        {"three export lookups: 200 / 18 loaded objects", Target::None, 0,
         [&] { return f.Time(at(kExportLookups, kManyObjects)) / f.Time(lookups); }},
        {"scanned-module request (TOrvikPtr): 200 / 18 loaded objects", Target::None, 0,
         [&] { return flat(kScannedPtr, kManyObjects, kQuiet, kFloorSeconds); }},
        {"scanned-module request (TOrvikPtr): 1000 / 10 registered", Target::None, 0,
         [&] { return flat(kScannedPtr, kManyInstances, kManyObjects, kFloorSeconds); }},
        {"registered-instance request (TOrvikPtr): 200 / 18 loaded objects, each over a held call", Target::None, 0,
         [&] { return flat(kRegisteredPtr, kManyObjects, kQuiet, kGaugeSeconds); }},
        {"registered-instance request (TOrvikPtr): 1000 / 10 registered, each over the in-module floor", Target::None,
         0, [&] { return flat(kRegisteredPtr, kManyInstances, kManyObjects, kFloorSeconds); }},
    };

    std::printf("\n== Orvik benchmark ratios: medians, processor time (the process started with %d loaded objects)\n\n",
                loadedObjectsAtStart);
    std::printf("| ratio | measured | target | result |\n|---|---|---|---|\n");
    bool allHold = true;
    for (const Row& row : rows) {
        const double value = row.value();
        const bool measured = !std::isnan(value);
        const bool holds = measured && Holds(row.target, row.bound, value);
        if (row.target != Target::None && !holds) allHold = false;
        const char* verdict = row.target == Target::None ? "" : !measured ? "no figure" : holds ? "pass" : "FAIL";
        std::printf("| %s | %s | %s | %s |\n", row.label.c_str(),
                    measured ? std::to_string(std::round(value * 1000) / 1000).substr(0, 5).c_str() : "-",
                    TargetText(row.target, row.bound).c_str(), verdict);
    }

    std::printf("\nFloors and absolute figures:\n");
    std::printf("  in-module floor %.1f ns, cross-module floor %.1f ns, three export lookups %.1f ns\n",
                f.Time(inModule) * 1e9, f.Time(cross) * 1e9, f.Time(lookups) * 1e9);
    std::printf("  a held call %.1f ns (timed with the registered-instance request at %s)\n",
                f.Counter(at(kRegisteredPtr, kQuiet), kGaugeSeconds) / kRequestBatch * 1e9,
                at(kRegisteredPtr, kQuiet).c_str());
    std::printf("  reading 500 KB %.0f MB/s, new catalog of 500 KB %.0f MB/s, peak memory for 20 MB %.0f MB\n",
                f.Counter(kCatalogParse, kFileBytes) / f.Counter(kCatalogParse, kFloorSeconds) / 1e6,
                f.Counter(kCatalogParse, kFileBytes) / f.Time(kCatalogParse) / 1e6,
                f.Counter(kCatalogMemory, kPeakBytes) / 1e6);
    std::printf("  cold start %.1f ms, loading only %.1f ms\n", f.Time(kStartFactory) * 1e3,
                f.Counter(kStartFactory, kFloorSeconds) * 1e3);
    for (const std::string& reason : f.missing()) std::printf("  no figure from %s\n", reason.c_str());
    std::printf("\nOrvik benchmark targets: %s\n", allHold ? "all hold" : "NOT all hold");
    return allHold;
}

}  // namespace Orvik::Bench
