// The module entry point. This object is the last one linked into every
// component module, so on ELF, where constructors run in link order, the
// process attach follows the module's static initialisation, as it does on
// Windows.
//
// The detach and the module's static destructors (observed with a small
// module on glibc): when the module is unloaded, the detach runs first and
// the static objects are destroyed after it, as on Windows; when the process
// ends with the module still loaded, the static objects are destroyed first
// and the detach runs after them. The runtime's live map therefore lives
// outside static destruction and goes in FinishModuleExit, after the
// detach's leak report, in both orders.

#include "orvik/module/module_runtime.h"

#if defined(_WIN32)

#include "module/module_record.h"

// The run-time calls it after the module's static initialisation and before
// its exit processing. Declared without the system headers: the types are
// the system's int, unsigned long and pointers.
extern "C" int __stdcall DllMain(void* instance, unsigned long reason, void* reserved)
{
    constexpr unsigned long kProcessDetach = 0;
    // The linker keeps only what the entry point reaches; this reference,
    // which costs an address in a register, keeps the module's record.
    asm volatile("" : : "r"(&Orvik::g_moduleRecord));
    const int32_t result = Orvik::ModuleEntryPoint(instance, static_cast<uint32_t>(reason), reserved);
    if (reason == kProcessDetach) Orvik::FinishModuleExit();
    return result;
}

#else

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

#endif
