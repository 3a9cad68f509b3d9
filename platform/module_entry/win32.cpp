// The module entry point on Windows: the run-time calls it after the
// module's static initialisation and before its exit processing.

#include <windows.h>

#include "module/module_runtime.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved)
{
    const int32_t result = Orvik::ModuleEntryPoint(instance, reason, reserved);
    if (reason == DLL_PROCESS_DETACH) Orvik::FinishModuleExit();
    return result;
}
