// One sample of a benchmark that needs a process of its own: a cold start,
// or a catalog made from a large file in a process that made none before.
// The benchmark program runs it and reads one line from its output:
//   ok <nanoseconds> <bytes>      the timed work, and the peak memory it took
//   fail <reason>
// Every mode checks its own outcome; any debugger line is a failure. Times
// are the process's processor time (user and system), which other programs
// on the machine inflate less than the time on the clock.

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "bench/bench_files.h"
#include "bench/modules/bench_interfaces.h"
#include "bench/native_loader.h"
#include "orvik/platform/debug_output.h"
#include "orvik/platform/module_loader.h"

namespace Orvik::Bench {
namespace {

// Taken as the program enters main: a cold start counts from here.
std::clock_t g_started;

std::string g_firstDebugLine;
void KeepFirstLine(const char* text, void*)
{
    if (g_firstDebugLine.empty()) g_firstDebugLine = text;
}

struct Sample {
    bool ok;
    std::string reason;
    uint64_t nanoseconds;
    uint64_t bytes;
};

Sample Fail(const std::string& reason) { return Sample{false, reason, 0, 0}; }
uint64_t Since(std::clock_t start)
{
    return static_cast<uint64_t>(static_cast<double>(std::clock() - start) * 1e9 / CLOCKS_PER_SEC);
}

std::string Here(const std::string& name) { return FrameworkPath(ProgramDirectory() / name); }

// The file into one terminated buffer, the least any reader does: one open,
// one read, with the standard library alone.
bool ReadWhole(const std::string& path, uint32_t* size)
{
    std::string native = path;  // given in the framework's form
    std::replace(native.begin(), native.end(), '\\', '/');
    std::FILE* file = std::fopen(native.c_str(), "rb");
    if (file == nullptr) return false;
    std::fseek(file, 0, SEEK_END);
    *size = static_cast<uint32_t>(std::ftell(file));
    std::fseek(file, 0, SEEK_SET);
    std::unique_ptr<char[]> text(new char[size_t{*size} + 1]);
    text[*size] = '\0';
    const bool read = std::fread(text.get(), 1, *size, file) == *size;
    std::fclose(file);
    return read;
}

Sample ReadFloor(const std::string& file, const std::string& warmFile)
{
    uint32_t size = 0;
    if (!ReadWhole(warmFile, &size)) return Fail("cannot read " + warmFile);
    const std::clock_t start = std::clock();
    if (!ReadWhole(file, &size)) return Fail("cannot read " + file);
    const uint64_t elapsed = Since(start);
    if (size == 0) return Fail("empty file " + file);
    return Sample{true, "", elapsed, 0};
}

// A new catalog through the factory's own request path: the factory sees a
// configuration path for the first time, resolves it, reads and parses the
// file, and answers the request for itself from the file's last section.
Sample ParseCatalog(const std::string& file, const std::string& warmFile, bool memory)
{
    const Platform::ModuleHandle factoryModule = Platform::LoadModule(Here("..\\..\\OrvFact.dll").c_str());
    if (factoryModule == nullptr) return Fail("cannot load OrvFact.dll");
    auto create = FindModuleExport<Exports::CreateComponent>(factoryModule);
    auto* factory = static_cast<IOrvikComponentFactory*>(create(static_cast<int32_t>(kFactoryComponentId), 0));
    if (factory == nullptr) return Fail("no factory");
    // The code paths run once on a small file first.
    if (factory->CreateComponentByID(kFactoryComponentId, warmFile.c_str()) != factory) return Fail("warm-up failed");

    const uint64_t residentBefore = ResidentBytes();
    const std::clock_t start = std::clock();
    IComponent* answer = factory->CreateComponentByID(kFactoryComponentId, file.c_str());
    const uint64_t elapsed = Since(start);
    const uint64_t peak = PeakResidentBytes();
    if (answer != factory) return Fail("the catalog of " + file + " did not name the factory module");
    if (memory && (residentBefore == 0 || peak < residentBefore)) return Fail("no memory figures");

    factory->Release(1);
    Platform::ReleaseModule(factoryModule);
    return Sample{true, "", memory ? 0 : elapsed, memory ? peak - residentBefore : 0};
}

// The host loads a module whose first request makes it load the factory,
// which reads its configuration and scans 50 modules for their ids.
Sample ColdStartWithFactory()
{
    const Platform::ModuleHandle clientModule = Platform::LoadModule(Here("..\\bench_client.dll").c_str());
    if (clientModule == nullptr) return Fail("cannot load bench_client.dll");
    auto create = FindModuleExport<Exports::CreateComponent>(clientModule);
    auto* client = static_cast<IBenchClient*>(create(static_cast<int32_t>(IBenchClient::kComponentId), 0));
    if (client == nullptr) return Fail("no client");
    const int32_t answer = client->ColdRequest(1);
    const uint64_t elapsed = Since(g_started);
    if (answer != 1 + kColdTagBase + kColdModules - 1) return Fail("the request reached no scanned module");

    IOrvikComponentFactory* factory = client->Factory();
    client->Release(0);
    factory->Release(1);
    Platform::ReleaseModule(clientModule);
    return Sample{true, "", elapsed, 0};
}

// The same start in a process that finds no module file checks kept by
// an earlier one: their store is emptied before the clock starts.
Sample FirstColdStartWithFactory()
{
    const char* store = std::getenv("ORVIK_CACHE_DIR");
    if (store == nullptr || *store == '\0') return Fail("ORVIK_CACHE_DIR names no store to empty");
    std::error_code error;
    std::filesystem::remove_all(store, error);
    if (error) return Fail("cannot empty " + std::string(store));
    g_started = std::clock();
    return ColdStartWithFactory();
}

// The same modules, only loaded, by the loader itself.
Sample ColdStartLoadOnly()
{
    std::vector<Native::Module> modules;
    for (int i = 0; i < kColdModules; ++i) {
        const std::string file = "m" + std::to_string(i) + ".dll";
        const Native::Module module = Native::Open((ProgramDirectory() / file).string().c_str());
        if (module == nullptr) return Fail("cannot load " + file);
        modules.push_back(module);
    }
    const uint64_t elapsed = Since(g_started);
    for (Native::Module module : modules) Native::Close(module);
    return Sample{true, "", elapsed, 0};
}

Sample Run(int argc, char** argv)
{
    const std::string mode = argc > 1 ? argv[1] : "";
    const std::string file = argc > 2 ? argv[2] : "";
    const std::string warmFile = argc > 3 ? argv[3] : "";
    if (mode == "cold-factory") return ColdStartWithFactory();
    if (mode == "cold-factory-first") return FirstColdStartWithFactory();
    if (mode == "cold-load") return ColdStartLoadOnly();
    if (mode == "read" && argc == 4) return ReadFloor(file, warmFile);
    if (mode == "parse" && argc == 4) return ParseCatalog(file, warmFile, false);
    if (mode == "parse-memory" && argc == 4) return ParseCatalog(file, warmFile, true);
    return Fail("usage: orvik_bench_child cold-factory|cold-factory-first|cold-load|read|parse|parse-memory [FILE WARM-FILE]");
}

}  // namespace
}  // namespace Orvik::Bench

int main(int argc, char** argv)
{
    using namespace Orvik::Bench;
    g_started = std::clock();
    Orvik::Platform::SetDebugSink(KeepFirstLine, nullptr);
    Sample sample = Run(argc, argv);
    if (sample.ok && !g_firstDebugLine.empty()) sample = Fail("debug line: " + g_firstDebugLine);
    if (!sample.ok) {
        std::printf("fail %s\n", sample.reason.c_str());
        return 1;
    }
    std::printf("ok %llu %llu\n", static_cast<unsigned long long>(sample.nanoseconds),
                static_cast<unsigned long long>(sample.bytes));
    return 0;
}
