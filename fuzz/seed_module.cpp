// The module the module-file fuzzer cuts short and loads, over and over.
// It has what the loader handles in a component module (static objects
// with constructors and destructors, a thread-local, library calls through
// versioned symbols, exports) without the framework: libFuzzer cannot
// follow coverage counters of a module that leaves memory, so this module
// is built without them, which the framework's own code is not.

#include <cstdint>
#include <map>
#include <string>

namespace {

std::map<std::string, int32_t> g_table{{"seed", 1}};
thread_local int32_t t_calls = 0;

}  // namespace

extern "C" __attribute__((visibility("default"))) int32_t SeedValue(const char* name)
{
    ++t_calls;
    const auto found = g_table.find(name);
    return found != g_table.end() ? found->second : 0;
}

extern "C" __attribute__((visibility("default"))) int32_t SeedCalls() { return t_calls; }
