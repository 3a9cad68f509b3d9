// The store of module file checks kept for later processes, read from any
// bytes: a line is taken only when it reads whole, and a pass taken writes
// back as a line that reads as the same pass.

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/posix/pass_store.h"

namespace {

bool SamePass(const Orvik::Platform::PassedFile& a, const Orvik::Platform::PassedFile& b)
{
    return a.identity == b.identity && a.needs.names == b.needs.names && a.needs.hasRunPath == b.needs.hasRunPath &&
           a.needs.hasOldRunPath == b.needs.hasOldRunPath && a.needs.runPath == b.needs.runPath &&
           a.needs.oldRunPath == b.needs.oldRunPath;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace Orvik::Platform;
    PassMap passes;
    const size_t lines = ReadPassLines(reinterpret_cast<const char*>(data), size, &passes);
    if (passes.size() > lines) __builtin_trap();
    for (const auto& [path, pass] : passes) {
        if (path.empty()) __builtin_trap();
        const std::string line = PassLine(path, pass);
        if (line.empty()) continue;  // too long to be kept
        PassMap again;
        if (ReadPassLines(line.data(), line.size(), &again) != 1 || again.size() != 1) __builtin_trap();
        if (again.begin()->first != path || !SamePass(again.begin()->second, pass)) __builtin_trap();
    }
    return 0;
}
