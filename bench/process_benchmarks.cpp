// The benchmarks that need a fresh process per sample: a new catalog of a
// large file against reading that file, the memory it takes, and the cold
// start against loading the same modules. Each sample is one run of
// orvik_bench_child, which times its own work and checks its outcome. A
// piece of work and its floor are sampled in pairs, one right after the
// other, so that a machine busy with other work slows both alike.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <vector>

#include "bench/bench_files.h"
#include "bench/bench_names.h"
#include "bench/median.h"

namespace Orvik::Bench {

namespace {

constexpr size_t kParsedFileBytes = 500 * 1024;
constexpr size_t kMemoryFileBytes = 20 * 1024 * 1024;
constexpr size_t kWarmFileBytes = 4 * 1024;

struct ChildSample {
    std::string failure;  // empty on success
    double seconds;
    double bytes;
};

std::filesystem::path DataDirectory() { return ProgramDirectory() / "data"; }

// Where the children keep the module file checks that passed, for the
// children after them, instead of the user's own cache.
std::filesystem::path CheckStoreDirectory() { return DataDirectory() / "checks"; }

ChildSample RunChild(const std::string& arguments)
{
    const std::filesystem::path output = DataDirectory() / "child.out";
    const std::string command = "ORVIK_CACHE_DIR='" + CheckStoreDirectory().string() + "' '" +
                                (ProgramDirectory() / "cold" / "orvik_bench_child").string() + "' " + arguments +
                                " > '" + output.string() + "' 2>&1";
    const int status = std::system(command.c_str());
    std::ifstream result(output);
    std::string line;
    std::getline(result, line);
    std::istringstream fields(line);
    std::string verdict;
    unsigned long long nanoseconds = 0, bytes = 0;
    fields >> verdict >> nanoseconds >> bytes;
    if (status != 0 || verdict != "ok") return ChildSample{"child: " + (line.empty() ? "no output" : line), 0, 0};
    return ChildSample{"", static_cast<double>(nanoseconds) * 1e-9, static_cast<double>(bytes)};
}

// Two children per iteration, the work and its floor, in turns first; the
// benchmark's time is the work child's own timing, the floor's the counter
// kFloorSeconds, and the counter kPairRatio the median of work over floor
// taken pair by pair. A core of a shared machine can change its speed by half
// from one process to the next: a pair whose two children met different
// speeds moves the sums, but hardly the median of the pairs.
void MeasurePair(benchmark::State& state, const std::string& work, const std::string& floor, size_t bytesPerSample)
{
    double floorSeconds = 0;
    std::vector<double> pairRatios;
    bool floorFirst = true;
    for (auto _ : state) {
        ChildSample floorSample{}, workSample{};
        if (floorFirst) floorSample = RunChild(floor);
        workSample = RunChild(work);
        if (!floorFirst) floorSample = RunChild(floor);
        floorFirst = !floorFirst;
        const std::string& failure = !workSample.failure.empty() ? workSample.failure : floorSample.failure;
        if (!failure.empty()) {
            state.SkipWithError(failure.c_str());
            return;
        }
        state.SetIterationTime(workSample.seconds);
        floorSeconds += floorSample.seconds;
        pairRatios.push_back(workSample.seconds / floorSample.seconds);
    }
    state.counters[kFloorSeconds] = benchmark::Counter(floorSeconds, benchmark::Counter::kAvgIterations);
    state.counters[kPairRatio] = Median(pairRatios);
    if (bytesPerSample != 0) {
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytesPerSample));
        state.counters[kFileBytes] = static_cast<double>(bytesPerSample);
    }
}

void MeasureMemory(benchmark::State& state, const std::string& arguments, size_t fileBytes)
{
    double peak = 0;
    for (auto _ : state) {
        const ChildSample sample = RunChild(arguments);
        if (!sample.failure.empty()) {
            state.SkipWithError(sample.failure.c_str());
            return;
        }
        peak = sample.bytes;
    }
    state.counters[kPeakBytes] = peak;
    state.counters[kFileBytes] = static_cast<double>(fileBytes);
}

// "'<framework path>'": the children take paths as the framework writes them.
std::string Quoted(const std::filesystem::path& path) { return "'" + FrameworkPath(path) + "'"; }

std::string WriteCatalog(const std::string& name, size_t bytes, size_t* written)
{
    const std::string factoryModule = FrameworkPath(ProgramDirectory().parent_path() / "OrvFact.dll");
    size_t sections = 0;
    const std::string text = CatalogText(bytes, factoryModule, &sections);
    WriteTextFile(DataDirectory() / name, text);
    *written = text.size();
    return Quoted(DataDirectory() / name);
}

}  // namespace

void RegisterProcessBenchmarks()
{
    std::filesystem::create_directories(DataDirectory());
    WriteTextFile(ProgramDirectory() / "cold" / "Orvik.ini", ColdStartConfiguration());
    size_t parsedBytes = 0, memoryBytes = 0, warmBytes = 0;
    const std::string parsed = WriteCatalog("catalog_500k.ini", kParsedFileBytes, &parsedBytes);
    const std::string large = WriteCatalog("catalog_20m.ini", kMemoryFileBytes, &memoryBytes);
    const std::string warm = WriteCatalog("warm.ini", kWarmFileBytes, &warmBytes);

    benchmark::RegisterBenchmark(kCatalogParse, MeasurePair, "parse " + parsed + " " + warm,
                                 "read " + parsed + " " + warm, parsedBytes)
        ->UseManualTime()->Iterations(6)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark(kCatalogMemory, MeasureMemory, "parse-memory " + large + " " + warm, memoryBytes)
        ->Iterations(1)->Repetitions(1)->Unit(benchmark::kMillisecond);
    // A child that starts takes a few milliseconds: enough pairs for a
    // steady median cost little.
    std::filesystem::remove_all(CheckStoreDirectory());
    benchmark::RegisterBenchmark(kFirstStartFactory, MeasurePair, "cold-factory-first", "cold-load", size_t{0})
        ->UseManualTime()->Iterations(15)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(kStartFactory, MeasurePair, "cold-factory", "cold-load", size_t{0})
        ->UseManualTime()->Iterations(15)->Unit(benchmark::kMillisecond);
}

}  // namespace Orvik::Bench
