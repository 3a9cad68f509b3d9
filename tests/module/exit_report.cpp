// Leaves two components of alpha.dll alive and ends the process: the
// module's detach must still report them from an intact live map. The test
// reads the report from standard error.

#include <cstdio>

#include "orvik/module/module_exports.h"
#include "orvik/platform/debug_output.h"
#include "tests/support/test_paths.h"

namespace {

// Kept reachable for the leak checker: they are left alive on purpose.
Orvik::IComponent* g_alive[2];

// Standard error on every platform (on Windows the debugger output is not
// visible to the test runner).
void ToStandardError(const char* text, void*)
{
    std::fputs(text, stderr);
    std::fflush(stderr);
}

}  // namespace

int main()
{
    using namespace Orvik;
    Platform::SetDebugSink(ToStandardError, nullptr);
    const Platform::ModuleHandle alpha = Platform::LoadModule((Testing::ProgramDirectory() + "\\alpha.dll").c_str());
    auto create = FindModuleExport<Exports::CreateComponent>(alpha);
    if (create == nullptr) return 1;
    g_alive[0] = create(201, 361);
    g_alive[1] = create(203, 0);
    return 0;  // alpha.dll stays loaded: its detach runs as the process ends
}
