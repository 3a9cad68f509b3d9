#include "orvik/platform/module_loader.h"

#include <windows.h>

#include "platform/win32/load_failure_note.h"
#include "platform/win32/record_check.h"

namespace Orvik {
namespace Platform {

ModuleHandle LoadModule(const char* path)
{
    // The loader runs a module's code as it loads it: a module built against
    // another contract is refused before. The check's own calls must not
    // change the last error, which a successful load leaves alone.
    const DWORD lastError = GetLastError();
    const uint32_t refusal = CheckRecordBeforeLoad(path);
    if (refusal != kErrorSuccess) {
        NoteRecordRefusal(path, refusal);
        return nullptr;
    }
    SetLastError(lastError);
    HMODULE module = LoadLibraryA(path);
    if (module == nullptr) NoteLoadFailure(path);
    return module;
}

ExportedFunction FindExport(ModuleHandle module, const char* name)
{
    return reinterpret_cast<ExportedFunction>(GetProcAddress(static_cast<HMODULE>(module), name));
}

bool ReleaseModule(ModuleHandle module) { return FreeLibrary(static_cast<HMODULE>(module)) != FALSE; }

ModuleHandle FindLoadedModule(const char* name) { return GetModuleHandleA(name); }

uint32_t GetModuleFilePath(ModuleHandle module, char* buffer, uint32_t size)
{
    const DWORD copied = GetModuleFileNameA(static_cast<HMODULE>(module), buffer, size);
    // Older systems leave a cut path unterminated.
    if (buffer != nullptr && size > 0 && copied >= size) buffer[size - 1] = '\0';
    return copied;
}

ModuleHandle ModuleContainingAddress(const void* address)
{
    HMODULE module = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       static_cast<LPCSTR>(address), &module);
    return module;
}

uint32_t GetLastErrorCode() { return GetLastError(); }

void SetLastErrorCode(uint32_t code) { SetLastError(code); }

}  // namespace Platform
}  // namespace Orvik
