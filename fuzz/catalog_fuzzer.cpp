// A catalog reading any configuration file, end to end: the parse, the
// settings and records it makes, preloading, and the requests that follow
// (the "dlls" scan, an id's own section, the default module). Modules the
// file names are looked for beside it, where nothing loadable lies.

#include <cstdlib>

#include "catalog/component_class_info_list.h"
#include "fuzz/fuzz_files.h"
#include "orvik/platform/debug_output.h"

namespace {

using Orvik::ComponentId;

// Small ids are what a fuzzed section header most often names.
constexpr ComponentId kIds[] = {0, 1, 2, 3, 9, 100, 361, 0x7FFFFFFF, 0x80000000};

void Discard(const char*, void*) {}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // The catalog's messages would drown the fuzzer's own.
    Orvik::Platform::SetDebugSink(Discard, nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string path = Orvik::Fuzzing::WriteFuzzFile("catalog.ini", data, size);
    Orvik::CComponentClassInfoList catalog;
    if (catalog.LoadConfigFile("fuzz.ini", path.c_str()) != 1) std::abort();
    uint32_t first = 0;
    uint32_t second = 0;
    catalog.GetLogFileLimits(&first, &second);
    for (ComponentId id : kIds) {
        catalog.GetLogSetting(id, &first, &second);
        if (Orvik::IComponent* component = catalog.CreateComponentFromDll(id)) component->Release(1);
    }
    return 0;
}
