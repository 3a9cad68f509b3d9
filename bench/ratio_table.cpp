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

// A ratio, with the absolute time of what it is drawn over beside it.
struct Row {
    std::string label;
    Target target;
    double bound;
    std::function<double()> value;
    std::function<std::string()> floor;
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
    double Counter(const std::string& name, const std::string& counter) const
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

std::string Duration(double seconds)
{
    if (std::isnan(seconds)) return "-";
    char text[32];
    if (seconds >= 1e-3) {
        std::snprintf(text, sizeof text, "%.2f ms", seconds * 1e3);
    } else if (seconds >= 1e-6) {
        std::snprintf(text, sizeof text, "%.0f ns", seconds * 1e9);
    } else {
        std::snprintf(text, sizeof text, "%.1f ns", seconds * 1e9);
    }
    return text;
}

// Operations per second of a path on a number of threads, from the
// threads' rounds.
double PerSecond(const Figures& f, const char* path, int threads)
{
    return f.Counter(NameAt(kThreadRounds, kQuiet), ThreadCounter(path, threads));
}

void PrintThreadTable(const Figures& f)
{
    struct Line {
        const char* label;
        const char* path;
    };
    const Line lines[] = {
        {"floor: lookup in a map nobody changes + one virtual call", kMapFloorPath},
        {"floor: new / map insert / virtual call / erase / delete behind one global std::mutex", kLockedFloorPath},
        {"registered-instance request (TOrvikPtr)", kRegisteredPath},
        {"scanned-module request (TOrvikPtr)", kScannedPath},
        {"section-module request (TOrvikPtr)", kSectionPath},
    };
    std::printf("\nOn threads: millions of operations per second, summed over the threads (wall time, medians of the "
                "rounds)\n\n| path | 1 thread | 2 threads | 4 threads |\n|---|---|---|---|\n");
    for (const Line& line : lines) {
        std::printf("| %s |", line.label);
        for (int threads : kThreadCounts) {
            const double value = PerSecond(f, line.path, threads);
            if (std::isnan(value)) {
                std::printf(" - |");
            } else {
                std::printf(" %.2f |", value / 1e6);
            }
        }
        std::printf("\n");
    }
}

}  // namespace

bool PrintRatioTable(const std::map<std::string, Result>& results, int loadedObjectsAtStart)
{
    const Figures f(results);
    auto at = [](const char* base, const Crowding& crowding) { return NameAt(base, crowding); };

    // Work is set against the floor timed in turns with it; two figures under
    // different crowding, each against its own floor, or its gauge where it
    // has one.
    auto over = [&](const char* base, const Crowding& crowding) {
        return [&f, name = at(base, crowding)] { return f.OverFloor(name); };
    };
    auto flat = [&](const char* base, const Crowding& crowded, const Crowding& quiet, const char* floor) {
        return [&f, crowdedName = at(base, crowded), quietName = at(base, quiet), floor] {
            return f.OverFloor(crowdedName, floor) / f.OverFloor(quietName, floor);
        };
    };
    // The floor's time per operation, as timed beside the work.
    auto floorOf = [&](const char* base, const Crowding& crowding, const char* floor = kFloorSeconds) {
        return [&f, name = at(base, crowding), floor] { return Duration(f.Counter(name, floor) / kRequestBatch); };
    };
    auto childFloor = [&](const char* name) {
        return [&f, name] { return Duration(f.Counter(name, kFloorSeconds)); };
    };
    auto none = [] { return std::string(); };
    // On threads: operations per second on more threads over those on fewer,
    // beside the same for the floor the path is set against.
    auto scaling = [&](const char* path, int more, int fewer) {
        return [&f, path, more, fewer] { return PerSecond(f, path, more) / PerSecond(f, path, fewer); };
    };
    auto floorScaling = [&](const char* label, const char* floorPath, int more, int fewer) {
        return [&f, label, floorPath, more, fewer] {
            const double ratio = PerSecond(f, floorPath, more) / PerSecond(f, floorPath, fewer);
            if (std::isnan(ratio)) return std::string("-");
            char text[64];
            std::snprintf(text, sizeof text, "%s %.2f", label, ratio);
            return std::string(text);
        };
    };
    const char* const mapFloor = "map floor";
    const char* const lockedFloor = "locked floor";

    const char* const inModule = "in-module floor ";
    const std::vector<Row> rows = {
        {"section-module request (TOrvikPtr) / (cross-module floor + three loader lookups)", Target::AtMost, 1.3,
         over(kSectionPtr, kQuiet), floorOf(kSectionPtr, kQuiet)},
        {"section-module request (TOrvikPtr): 200 / 20 loaded objects", Target::Within, 0.1,
         flat(kSectionPtr, kManyObjects, kQuiet, kFloorSeconds), none},
        {"scanned-module request (TOrvikPtr) / cross-module floor", Target::AtMost, 1.5, over(kScannedPtr, kQuiet),
         floorOf(kScannedPtr, kQuiet)},
        {"registered-instance request (TOrvikPtr) / in-module floor", Target::AtMost, 0.3,
         over(kRegisteredPtr, kQuiet), floorOf(kRegisteredPtr, kQuiet)},
        {"registered-instance request (TOrvikPtr): 1000 / 10 registered, each over a held call", Target::Within, 0.1,
         flat(kRegisteredPtr, kManyInstances, kManyObjects, kGaugeSeconds), none},
        {"new catalog of 500 KB: MB/s / reading the file's MB/s", Target::AtLeast, 0.3,
         [&] { return 1 / f.Counter(kCatalogParse, kPairRatio); }, childFloor(kCatalogParse)},
        {"new catalog of 20 MB: peak memory / file size", Target::AtMost, 4.0,
         [&] { return f.Counter(kCatalogMemory, kPeakBytes) / f.Counter(kCatalogMemory, kFileBytes); }, none},
        {"cold start, 50 scanned modules / a process that only loads them", Target::AtMost, 1.2,
         [&] { return f.Counter(kStartFactory, kPairRatio); }, childFloor(kStartFactory)},
        {"cold start with no checks kept by an earlier process / a process that only loads the modules",
         Target::None, 0, [&] { return f.Counter(kFirstStartFactory, kPairRatio); }, childFloor(kFirstStartFactory)},
        {"idle scanned module, request (TOrvikPtr) / loader's idle cycle", Target::AtMost, 1.5,
         over(kIdleScanned, kQuiet), floorOf(kIdleScanned, kQuiet)},
        {"idle section module, request (TOrvikPtr) / loader's idle cycle", Target::AtMost, 1.5,
         over(kIdleSection, kQuiet), floorOf(kIdleSection, kQuiet)},
        {"idle scanned module: 70 / 20 loaded objects, each over its floor", Target::Within, 0.1,
         flat(kIdleScanned, kFiftyMoreObjects, kQuiet, kFloorSeconds), none},
        {"idle section module: 70 / 20 loaded objects, each over its floor", Target::Within, 0.1,
         flat(kIdleSection, kFiftyMoreObjects, kQuiet, kFloorSeconds), none},
        {"registered-instance request (TOrvikPtr), operations/s: 2 / 1 threads", Target::AtLeast, 1.6,
         scaling(kRegisteredPath, 2, 1), floorScaling(mapFloor, kMapFloorPath, 2, 1)},
        {"registered-instance request (TOrvikPtr), operations/s: 4 / 2 threads", Target::AtLeast, 0.95,
         scaling(kRegisteredPath, 4, 2), floorScaling(mapFloor, kMapFloorPath, 4, 2)},
        {"scanned-module request (TOrvikPtr), operations/s: 2 / 1 threads", Target::AtLeast, 1.0,
         scaling(kScannedPath, 2, 1), floorScaling(lockedFloor, kLockedFloorPath, 2, 1)},
        {"scanned-module request (TOrvikPtr), operations/s: 4 / 2 threads", Target::AtLeast, 0.9,
         scaling(kScannedPath, 4, 2), floorScaling(lockedFloor, kLockedFloorPath, 4, 2)},
        {"section-module request (TOrvikPtr), operations/s: 2 / 1 threads", Target::AtLeast, 1.0,
         scaling(kSectionPath, 2, 1), floorScaling(lockedFloor, kLockedFloorPath, 2, 1)},
        {"section-module request (TOrvikPtr), operations/s: 4 / 2 threads", Target::AtLeast, 0.9,
         scaling(kSectionPath, 4, 2), floorScaling(lockedFloor, kLockedFloorPath, 4, 2)},

        {"framework's in-module component / in-module floor", Target::None, 0, over(kOrvikInModule, kQuiet),
         floorOf(kOrvikInModule, kQuiet)},
        {"framework's cross-module component / cross-module floor", Target::None, 0,
         over(kOrvikCrossModule, kQuiet), floorOf(kOrvikCrossModule, kQuiet)},
        {"three export lookups (FindExport) / three loader lookups", Target::None, 0, over(kExportLookups, kQuiet),
         floorOf(kExportLookups, kQuiet)},
        {"section-module request without TOrvikPtr / (cross-module floor + loader lookups)", Target::None, 0,
         over(kSectionDirect, kQuiet), floorOf(kSectionDirect, kQuiet)},
        {"scanned-module request without TOrvikPtr / cross-module floor", Target::None, 0,
         over(kScannedDirect, kQuiet), floorOf(kScannedDirect, kQuiet)},
        {"registered-instance request without TOrvikPtr / in-module floor", Target::None, 0,
         over(kRegisteredDirect, kQuiet), floorOf(kRegisteredDirect, kQuiet)},
        {"three export lookups (FindExport): 200 / 20 loaded objects", Target::None, 0,
         flat(kExportLookups, kManyObjects, kQuiet, kFloorSeconds), none},
        {"scanned-module request (TOrvikPtr): 200 / 20 loaded objects", Target::None, 0,
         flat(kScannedPtr, kManyObjects, kQuiet, kFloorSeconds), none},
        {"scanned-module request (TOrvikPtr): 1000 / 10 registered", Target::None, 0,
         flat(kScannedPtr, kManyInstances, kManyObjects, kFloorSeconds), none},
        {"registered-instance request (TOrvikPtr): 200 / 20 loaded objects, each over a held call", Target::None, 0,
         flat(kRegisteredPtr, kManyObjects, kQuiet, kGaugeSeconds), none},
        {"registered-instance request (TOrvikPtr): 1000 / 10 registered, each over the in-module floor", Target::None,
         0, flat(kRegisteredPtr, kManyInstances, kManyObjects, kFloorSeconds), none},
    };

    std::printf("\n== Orvik benchmark ratios: medians, processor time, on threads wall time (the process started with "
                "%d loaded objects)\n\n",
                loadedObjectsAtStart);
    std::printf("| ratio | measured | target | result | floor |\n|---|---|---|---|---|\n");
    bool allHold = true;
    for (const Row& row : rows) {
        const double value = row.value();
        const bool measured = !std::isnan(value);
        const bool holds = measured && Holds(row.target, row.bound, value);
        if (row.target != Target::None && !holds) allHold = false;
        const char* verdict = row.target == Target::None ? "" : !measured ? "no figure" : holds ? "pass" : "FAIL";
        std::printf("| %s | %s | %s | %s | %s |\n", row.label.c_str(),
                    measured ? std::to_string(std::round(value * 1000) / 1000).substr(0, 5).c_str() : "-",
                    TargetText(row.target, row.bound).c_str(), verdict, row.floor().c_str());
    }

    PrintThreadTable(f);

    std::printf("\nFloors on their own (no framework code) and absolute figures:\n");
    auto perRequest = [&](const char* base, const Crowding& crowding) {
        return Duration(f.Time(at(base, crowding)) / kRequestBatch);
    };
    std::printf("  %s%s, cross-module floor %s, three loader lookups %s, loader's idle cycle %s\n", inModule,
                perRequest(kInModuleFloor, kQuiet).c_str(), perRequest(kCrossModuleFloor, kQuiet).c_str(),
                perRequest(kLoaderLookups, kQuiet).c_str(), perRequest(kIdleCycleFloor, kQuiet).c_str());
    std::printf("  requests (TOrvikPtr): section %s, scanned %s, registered %s; idle scanned %s, idle section %s\n",
                perRequest(kSectionPtr, kQuiet).c_str(), perRequest(kScannedPtr, kQuiet).c_str(),
                perRequest(kRegisteredPtr, kQuiet).c_str(), perRequest(kIdleScanned, kQuiet).c_str(),
                perRequest(kIdleSection, kQuiet).c_str());
    std::printf("  a held call %s (timed with the registered-instance request at %s)\n",
                Duration(f.Counter(at(kRegisteredPtr, kQuiet), kGaugeSeconds) / kRequestBatch).c_str(),
                at(kRegisteredPtr, kQuiet).c_str());
    std::printf("  reading 500 KB %.0f MB/s, new catalog of 500 KB %.0f MB/s, peak memory for 20 MB %.0f MB\n",
                f.Counter(kCatalogParse, kFileBytes) / f.Counter(kCatalogParse, kFloorSeconds) / 1e6,
                f.Counter(kCatalogParse, kFileBytes) / f.Time(kCatalogParse) / 1e6,
                f.Counter(kCatalogMemory, kPeakBytes) / 1e6);
    std::printf("  cold start %s (%s with no checks kept), a process that only loads the modules %s\n",
                Duration(f.Time(kStartFactory)).c_str(), Duration(f.Time(kFirstStartFactory)).c_str(),
                Duration(f.Counter(kStartFactory, kFloorSeconds)).c_str());
    for (const std::string& reason : f.missing()) std::printf("  no figure from %s\n", reason.c_str());
    std::printf("\nOrvik benchmark targets: %s\n", allHold ? "all hold" : "NOT all hold");
    return allHold;
}

}  // namespace Orvik::Bench
