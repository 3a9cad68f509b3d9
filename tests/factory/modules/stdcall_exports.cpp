// fact_stdcall's seven exports, written against the framework's header. On
// 32-bit Windows this unit alone is built with stdcall as its default
// calling convention, as modules of other compilers often are; the
// convention the header spells out must win, or the factory's calls
// unbalance the stack. Nothing here calls a function.

#include "orvik/module/module_exports.h"
#include "tests/factory/modules/stdcall_module.h"

using Orvik::Testing::g_stdcallModule;

Orvik::IComponent* ORVIK_CDECL CreateComponent(int32_t componentId, uint32_t creatorId)
{
    if (static_cast<Orvik::ComponentId>(componentId) != Orvik::Testing::kStdcallId ||
        creatorId != Orvik::kFactoryComponentId) {
        return nullptr;
    }
    ++g_stdcallModule.live;
    return g_stdcallModule.component;
}

int32_t ORVIK_CDECL GetComponentIDs(uint32_t* ids, int32_t max)
{
    if (ids != nullptr && max > 0) ids[0] = Orvik::Testing::kStdcallId;
    return 1;
}

int32_t ORVIK_CDECL SetDLLRegistry(const char* path)
{
    char* copy = g_stdcallModule.registryPath;
    int32_t length = 0;
    for (; path != nullptr && path[length] != '\0' && length < Orvik::Platform::kMaxPath - 1; ++length) {
        copy[length] = path[length];
    }
    copy[length] = '\0';
    return 0;
}

// The module never calls the factory, so it has no use for its handle.
void ORVIK_CDECL SetFactoryHandle(Orvik::Platform::ModuleHandle) {}

void ORVIK_CDECL OrvikSetDllSafe(int32_t) {}

int32_t ORVIK_CDECL OrvikDllCanUnloadNow() { return g_stdcallModule.live == 0 ? 1 : 0; }

void ORVIK_CDECL OrvikDllFreeMap() {}
