#pragma once
// The names under which the benchmarks report, shared by their registration
// and the table of ratios drawn from them.

#include <string>

#include "bench/bench_world.h"

namespace Orvik::Bench {

// The process as the in-process benchmarks find it, and the two ways it is
// crowded later: many loaded shared objects, then many registered instances.
constexpr Crowding kQuiet{20, 10};
constexpr Crowding kFiftyMoreObjects{70, 10};
constexpr Crowding kManyObjects{200, 10};
constexpr Crowding kManyInstances{200, 1000};

inline std::string NameAt(const std::string& base, const Crowding& crowding)
{
    return base + "@" + std::to_string(crowding.loadedObjects) + "obj/" +
           std::to_string(crowding.registeredInstances) + "reg";
}

// The floors, without framework code (README "Benchmarks").
constexpr const char* kInModuleFloor = "floor/in-module";
constexpr const char* kCrossModuleFloor = "floor/cross-module";
constexpr const char* kLoaderLookups = "floor/loader-three-lookups";
constexpr const char* kIdleCycleFloor = "floor/loader-idle-cycle";
// The framework's module-side costs, each against its floor.
constexpr const char* kOrvikInModule = "module/in-module-component";
constexpr const char* kOrvikCrossModule = "module/cross-module-component";
constexpr const char* kExportLookups = "lookups/three-exports";
constexpr const char* kSectionPtr = "request/section/ptr";
constexpr const char* kSectionDirect = "request/section/direct";
constexpr const char* kScannedPtr = "request/scanned/ptr";
constexpr const char* kScannedDirect = "request/scanned/direct";
constexpr const char* kRegisteredPtr = "request/registered/ptr";
constexpr const char* kRegisteredDirect = "request/registered/direct";
constexpr const char* kIdleScanned = "idle/scanned/ptr";
constexpr const char* kIdleSection = "idle/section/ptr";

// Requests on several threads at once: one benchmark, whose counters are the
// medians over the rounds of each path's operations per second on each
// number of threads, summed over the threads (ThreadCounter names them).
constexpr const char* kThreadRounds = "threads/rounds";
constexpr const char* kMapFloorPath = "map-floor";
constexpr const char* kLockedFloorPath = "locked-floor";
constexpr const char* kRegisteredPath = "registered";
constexpr const char* kScannedPath = "scanned";
constexpr const char* kSectionPath = "section";
constexpr int kThreadCounts[] = {1, 2, 4};

inline std::string ThreadCounter(const char* path, int threads)
{
    return std::string(path) + "/" + std::to_string(threads) + "t";
}

// Each with its floor, sampled in pairs: reading the file, loading the
// modules only.
constexpr const char* kCatalogParse = "catalog/new-catalog-500KB";
constexpr const char* kStartFactory = "start/factory-scan-50-modules";
// The same start with no module file check kept by an earlier process.
constexpr const char* kFirstStartFactory = "start/factory-scan-50-modules-first";
constexpr const char* kCatalogMemory = "catalog/peak-memory-20MB";

// Operations per batch of a request, its floor or its gauge: enough for the
// processor clock's microseconds to time the fastest request to a few per
// cent.
constexpr int64_t kRequestBatch = 4096;

// Counters: the floor's and the gauge's time per sample, the median ratio
// of the work to its floor over the pairs of a process benchmark, the memory
// benchmark's figures.
constexpr const char* kFloorSeconds = "floor_seconds";
constexpr const char* kGaugeSeconds = "gauge_seconds";
constexpr const char* kPairRatio = "pair_ratio";
constexpr const char* kPeakBytes = "peak_bytes";
constexpr const char* kFileBytes = "file_bytes";

void RegisterThreadBenchmarks();
void RegisterRequestBenchmarks();
void RegisterProcessBenchmarks();

}  // namespace Orvik::Bench
