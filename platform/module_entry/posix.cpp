// The module entry point on ELF. The module's constructors run in link
// order and this file is linked last into every component module, so the
// process attach follows the module's static initialisation; the detach
// runs before the module's static objects are destroyed, both when the
// module is unloaded and when the process ends (the runtime destroys its
// own state afterwards, in FinishModuleExit).

#include "module/module_runtime.h"

namespace {

const char g_anchor = 0;

Orvik::Platform::ModuleHandle OwnHandle() { return Orvik::Platform::ModuleContainingAddress(&g_anchor); }

__attribute__((constructor)) void ProcessAttach() { Orvik::ModuleEntryPoint(OwnHandle(), 1, nullptr); }

__attribute__((destructor)) void ProcessDetach()
{
    Orvik::ModuleEntryPoint(OwnHandle(), 0, nullptr);
    Orvik::FinishModuleExit();
}

}  // namespace
