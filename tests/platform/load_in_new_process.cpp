// Loads the module named by its argument in a process of its own, as a
// program that starts does, and prints the load's last error: 0 when the
// module loaded.

#include <cstdio>

#include "orvik/platform/module_loader.h"

int main(int argc, char** argv)
{
    if (argc != 2) return 2;
    const Orvik::Platform::ModuleHandle module = Orvik::Platform::LoadModule(argv[1]);
    std::printf("%u\n", module != nullptr ? 0u : static_cast<unsigned>(Orvik::Platform::GetLastErrorCode()));
    return 0;
}
