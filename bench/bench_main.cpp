// orvik_bench: the project's benchmark suite. Runs every benchmark in one
// process (and its child processes), then prints the ratios of the results
// to the floors measured in the same run, with their targets. Google
// Benchmark's own flags apply (--benchmark_filter, --benchmark_repetitions,
// ...); by default each benchmark is repeated five times and its median
// taken. Exits with 0 when every target holds.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "bench/bench_files.h"
#include "bench/bench_names.h"
#include "bench/ratio_table.h"

namespace {

// Adds a default flag unless the command line sets it.
void AddDefault(std::vector<char*>& arguments, const char* flag)
{
    const size_t nameLength = std::strchr(flag, '=') - flag;
    for (const char* argument : arguments) {
        if (std::strncmp(argument, flag, nameLength) == 0) return;
    }
    arguments.push_back(const_cast<char*>(flag));
}

}  // namespace

int main(int argc, char** argv)
{
    using namespace Orvik::Bench;
    std::vector<char*> arguments(argv, argv + argc);
    AddDefault(arguments, "--benchmark_repetitions=5");
    AddDefault(arguments, "--benchmark_report_aggregates_only=true");
    AddDefault(arguments, "--benchmark_min_time=0.3");
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;

    World& world = World::Get();
    if (!world.error().empty()) std::fprintf(stderr, "orvik_bench: %s\n", world.error().c_str());
    const int loadedObjects = LoadedObjectCount();
    // The threads' rounds first, in the quiet process the request
    // benchmarks start in: those only make it more crowded.
    RegisterThreadBenchmarks();
    RegisterRequestBenchmarks();
    RegisterProcessBenchmarks();

    CollectingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const std::vector<std::string> lines = world.TearDown();
    for (const std::string& line : lines) std::fprintf(stderr, "orvik_bench: at shutdown: %s", line.c_str());

    const bool allHold = PrintRatioTable(reporter.results(), loadedObjects);
    benchmark::Shutdown();
    return allHold && lines.empty() ? 0 : 1;
}
