#include "tests/faults/fault_sweep.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <thread>

namespace Orvik {
namespace Faults {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// How one point ended.
struct Verdict {
    uint64_t calls = 0;
    std::string failedCall;  // empty: the fault was never reached
    bool abort = false, crash = false, hang = false, sanitizer = false, leak = false, wrong = false,
         unrecovered = false;
    std::vector<std::string> prescribed;
    std::vector<std::string> details;

    bool Bad() const { return abort || crash || hang || sanitizer || leak || wrong || unrecovered; }
};

struct Figures {
    uint64_t points = 0, reached = 0, aborts = 0, crashes = 0, hangs = 0, sanitizer = 0, leaks = 0, wrong = 0,
             unrecovered = 0;
    std::map<std::string, uint64_t> prescribed;

    void Add(const Verdict& verdict)
    {
        ++points;
        reached += verdict.failedCall.empty() ? 0 : 1;
        aborts += verdict.abort;
        crashes += verdict.crash;
        hangs += verdict.hang;
        sanitizer += verdict.sanitizer;
        leaks += verdict.leak;
        wrong += verdict.wrong;
        unrecovered += verdict.unrecovered;
        for (const std::string& reason : verdict.prescribed) ++prescribed[reason];
    }
    void Add(const Figures& other)
    {
        points += other.points;
        reached += other.reached;
        aborts += other.aborts;
        crashes += other.crashes;
        hangs += other.hangs;
        sanitizer += other.sanitizer;
        leaks += other.leaks;
        wrong += other.wrong;
        unrecovered += other.unrecovered;
        for (const auto& reason : other.prescribed) prescribed[reason.first] += reason.second;
    }
    bool Clean() const { return aborts + crashes + hangs + sanitizer + leaks + wrong + unrecovered == 0; }
    void Print(const std::string& name) const
    {
        uint64_t kept = 0;
        for (const auto& reason : prescribed) kept += reason.second;
        std::printf("%s: %llu points (%llu reached), %llu aborts, %llu crashes, %llu hangs, %llu sanitizer reports, "
                    "%llu leaks, %llu wrong results, %llu unrecovered, %llu unrecovered as prescribed\n",
                    name.c_str(), U(points), U(reached), U(aborts), U(crashes), U(hangs), U(sanitizer), U(leaks),
                    U(wrong), U(unrecovered), U(kept));
        for (const auto& reason : prescribed) {
            std::printf("    prescribed (%llu): %s\n", U(reason.second), reason.first.c_str());
        }
    }
    static unsigned long long U(uint64_t value) { return static_cast<unsigned long long>(value); }
};

std::string ReadAll(const fs::path& path)
{
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

struct Running {
    std::string scenario;
    uint64_t failAt;
    fs::path directory;
    Clock::time_point started;
};

pid_t Spawn(const std::string& program, const Running& run)
{
    fs::create_directories(run.directory);
    const std::string failAt = std::to_string(run.failAt);
    const std::string out = (run.directory / "out").string();
    const std::string err = (run.directory / "err").string();
    const pid_t pid = fork();
    if (pid != 0) return pid;
    // Elsewhere than the program's directory, so that nothing finds the
    // program's files through the current directory by chance.
    if (chdir(run.directory.c_str()) != 0) _exit(127);
    const int outFile = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int errFile = ::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(outFile, STDOUT_FILENO);
    dup2(errFile, STDERR_FILENO);
    execl(program.c_str(), program.c_str(), "point", run.scenario.c_str(), failAt.c_str(),
          run.directory.c_str(), static_cast<char*>(nullptr));
    _exit(127);
}

Verdict Judge(const Running& run, int status, bool timedOut)
{
    Verdict verdict;
    const std::string err = ReadAll(run.directory / "err");
    std::istringstream out(ReadAll(run.directory / "out"));
    bool done = false;
    for (std::string line; std::getline(out, line);) {
        const size_t space = line.find(' ');
        const std::string word = line.substr(0, space);
        const std::string rest = space == std::string::npos ? std::string() : line.substr(space + 1);
        if (word == "calls") verdict.calls = std::stoull(rest);
        if (word == "failed") verdict.failedCall = rest;
        if (word == "wrong") verdict.wrong = true;
        if (word == "unrecovered") verdict.unrecovered = true;
        if (word == "prescribed") verdict.prescribed.push_back(rest.substr(rest.find(": ") + 2));
        if (word == "wrong" || word == "unrecovered" || word == "prescribed") verdict.details.push_back(line);
        done = done || word == "done";
    }
    const auto has = [&](const char* marker) { return err.find(marker) != std::string::npos; };
    if (timedOut) {
        verdict.hang = true;
    } else if (WIFSIGNALED(status)) {
        (WTERMSIG(status) == SIGABRT ? verdict.abort : verdict.crash) = true;
    } else if (has("ABORT") || has("Fatal glibc error")) {
        // The C library's own ends, without the signal.
        verdict.abort = true;
    } else if (has("SEGV") || has("BUS on") || has("stack-overflow")) {
        verdict.crash = true;
    } else if (has("LeakSanitizer") || has("Found leak Orvik components")) {
        verdict.leak = true;
    } else if (has("AddressSanitizer") || has("runtime error:") || has("ThreadSanitizer")) {
        verdict.sanitizer = true;
    } else if (!done || WEXITSTATUS(status) != 0) {
        verdict.crash = true;
    }
    if (verdict.abort || verdict.crash || verdict.hang || verdict.sanitizer || verdict.leak) {
        std::istringstream lines(err);
        int shown = 0;
        for (std::string line; std::getline(lines, line) && shown < 12;) {
            if (!line.empty()) verdict.details.push_back("  | " + line), ++shown;
        }
    }
    return verdict;
}

// Up to budget points of 1..calls, spread evenly; all when budget is 0.
std::vector<uint64_t> ChoosePoints(uint64_t calls, uint64_t budget)
{
    std::vector<uint64_t> points;
    if (budget == 0 || budget >= calls) {
        for (uint64_t point = 1; point <= calls; ++point) points.push_back(point);
        return points;
    }
    for (uint64_t i = 0; i < budget; ++i) points.push_back(1 + i * calls / budget);
    return points;
}

const char* Category(const Verdict& verdict)
{
    if (verdict.hang) return "hang";
    if (verdict.abort) return "abort";
    if (verdict.crash) return "crash";
    if (verdict.sanitizer) return "sanitizer report";
    if (verdict.leak) return "leak";
    if (verdict.wrong) return "wrong result";
    if (verdict.unrecovered) return "unrecovered";
    return "prescribed";
}

class Sweep {
public:
    Sweep(std::string program, const SweepOptions& options)
        : program_(std::move(program)),
          options_(options),
          root_(fs::temp_directory_path() / ("orvik_faults_" + std::to_string(getpid())))
    {
    }
    ~Sweep()
    {
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }

    bool Run()
    {
        Figures total;
        for (const std::string& scenario : options_.scenarios) {
            const Verdict baseline = RunOne(scenario, 0);
            if (baseline.Bad() || !baseline.prescribed.empty()) {
                std::printf("scenario %s fails without a fault: %s\n", scenario.c_str(), Category(baseline));
                for (const std::string& detail : baseline.details) std::printf("    %s\n", detail.c_str());
                return false;
            }
            Figures figures;
            RunPoints(scenario, ChoosePoints(baseline.calls, options_.budget), &figures);
            figures.Print("scenario " + scenario + " (" + std::to_string(baseline.calls) + " calls)");
            total.Add(figures);
        }
        total.Print("all scenarios");
        std::fflush(stdout);
        return total.Clean();
    }

private:
    fs::path DirectoryFor(const std::string& scenario, uint64_t failAt) const
    {
        // One length for every point, so paths cost the same allocations.
        char name[32];
        std::snprintf(name, sizeof name, "%s_%08llu", scenario.c_str(), static_cast<unsigned long long>(failAt));
        return root_ / name;
    }

    Verdict RunOne(const std::string& scenario, uint64_t failAt)
    {
        Figures ignored;
        return RunPoints(scenario, {failAt}, &ignored);
    }

    // Runs the points, jobs at a time; the last one's verdict.
    Verdict RunPoints(const std::string& scenario, const std::vector<uint64_t>& points, Figures* figures)
    {
        std::map<pid_t, Running> running;
        Verdict last;
        size_t next = 0;
        while (next < points.size() || !running.empty()) {
            while (next < points.size() && running.size() < static_cast<size_t>(options_.jobs)) {
                Running run{scenario, points[next++], {}, Clock::now()};
                run.directory = DirectoryFor(scenario, run.failAt);
                running.emplace(Spawn(program_, run), run);
            }
            int status = 0;
            pid_t ended = waitpid(-1, &status, WNOHANG);
            bool timedOut = false;
            if (ended == 0) {
                for (const auto& entry : running) {
                    if (Clock::now() - entry.second.started < std::chrono::seconds(options_.timeoutSeconds)) continue;
                    kill(entry.first, SIGKILL);
                    ended = waitpid(entry.first, &status, 0);
                    timedOut = true;
                    break;
                }
            }
            if (ended <= 0) {
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
                continue;
            }
            const auto found = running.find(ended);
            if (found == running.end()) continue;
            last = Judge(found->second, status, timedOut);
            figures->Add(last);
            if (last.Bad() || (options_.verbose && !last.details.empty())) {
                std::printf("%s %llu [%s]: %s\n", scenario.c_str(),
                            static_cast<unsigned long long>(found->second.failAt), last.failedCall.c_str(),
                            Category(last));
                for (const std::string& detail : last.details) std::printf("    %s\n", detail.c_str());
                std::fflush(stdout);
            }
            std::error_code ignored;
            fs::remove_all(found->second.directory, ignored);
            running.erase(found);
        }
        return last;
    }

    std::string program_;
    SweepOptions options_;
    fs::path root_;
};

}  // namespace

bool RunSweep(const std::string& program, const SweepOptions& options)
{
    return Sweep(program, options).Run();
}

}  // namespace Faults
}  // namespace Orvik
