#pragma once
// The files and figures of the benchmark programs: where they live, the
// configuration files they write, and what the process has loaded and
// how much memory it holds (read from /proc, as the suite runs on Linux).

#include <cstdint>
#include <filesystem>
#include <string>

namespace Orvik::Bench {

// The directory of the running program, native form.
std::filesystem::path ProgramDirectory();
// A native path in the framework's form (backslashes).
std::string FrameworkPath(const std::filesystem::path& path);

void WriteTextFile(const std::filesystem::path& path, const std::string& text);

// The configuration of the in-process benchmarks: the factory module, two
// modules named by their sections, two scanned modules (one of each falls
// idle between requests).
std::string RequestConfiguration();
// The configuration of the cold start: the factory module and the 50
// scanned modules m0 ... m49 (short names keep the list within its limit).
std::string ColdStartConfiguration();

// A catalog configuration file of about targetBytes: a few settings, then
// numbered sections naming modules with a mix of log and path keys, and
// last the section of the factory module factoryModule (framework form).
// sections receives the number of numbered sections written.
std::string CatalogText(size_t targetBytes, const std::string& factoryModule, size_t* sections);

// Shared objects mapped into this process (executable mappings, counted
// per file, and the kernel's vdso), as the dynamic loader lists them.
int LoadedObjectCount();
// This process's resident memory and its high-water mark, in bytes; 0 when
// unknown.
uint64_t ResidentBytes();
uint64_t PeakResidentBytes();

}  // namespace Orvik::Bench
