// Requests made on several threads at once, as code of the client module
// makes them, and their floors: on 1, 2 and 4 threads, in alternating
// rounds. In each round every path runs on each number of threads in turn
// for a while on the clock, so the two sides of a comparison run one right
// after the other and each round sees the machine as it is then; the
// counters are the medians over the rounds. Every provider keeps one
// component alive, so no request unloads a module. Every answer is checked,
// and the registered instance must stay the one answered.

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

#include "bench/bench_checks.h"
#include "bench/bench_names.h"
#include "bench/median.h"
#include "bench/thread_rounds.h"

namespace Orvik::Bench {

namespace {

constexpr int kRounds = 7;
constexpr double kTurnSeconds = 0.3;

struct ThreadPath {
    const char* name;
    Work work;
};

const ThreadPath kThreadPaths[] = {
    {kMapFloorPath, SharedMapFloor}, {kLockedFloorPath, LockedFloor}, {kRegisteredPath, RequestShared},
    {kScannedPath, RequestScanned},  {kSectionPath, RequestSection},
};

void MeasureThreadRounds(benchmark::State& state)
{
    World* world = Prepare(state, kQuiet);
    if (world == nullptr) return;
    const size_t lines = world->debugLines();
    int64_t wrong = 0;
    std::map<std::string, std::vector<double>> samples;
    for (auto _ : state) {
        for (int round = 0; round < kRounds; ++round) {
            for (const ThreadPath& path : kThreadPaths) {
                for (int threads : kThreadCounts) {
                    const ThreadTurn turn = RunOnThreads(*world, path.work, threads, kTurnSeconds);
                    samples[ThreadCounter(path.name, threads)].push_back(turn.operationsPerSecond);
                    wrong += turn.wrongAnswers;
                }
            }
        }
    }
    for (const auto& counter : samples) state.counters[counter.first] = Median(counter.second);
    Finish(state, *world, lines, wrong);
    if (!state.error_occurred()) CheckRegisteredInstance(state, *world);
}

}  // namespace

void RegisterThreadBenchmarks()
{
    // The rounds are the repetitions: one run of them.
    benchmark::RegisterBenchmark(NameAt(kThreadRounds, kQuiet).c_str(), MeasureThreadRounds)
        ->Iterations(1)
        ->Repetitions(1)
        ->UseRealTime()
        ->Unit(benchmark::kSecond);
}

}  // namespace Orvik::Bench
