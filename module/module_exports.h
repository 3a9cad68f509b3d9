#pragma once
// The seven functions every component module exports, with C linkage and
// undecorated names. Other modules find them by name.

#include <cstdint>

#include "module/component.h"
#include "platform/module_loader.h"

#if defined(_WIN32)
// The module definition file exports them, with their ordinals.
#define ORVIK_MODULE_EXPORT extern "C"
#else
#define ORVIK_MODULE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

ORVIK_MODULE_EXPORT Orvik::IComponent* CreateComponent(int32_t componentId, uint32_t creatorId);
ORVIK_MODULE_EXPORT int32_t SetDLLRegistry(const char* path);
ORVIK_MODULE_EXPORT void OrvikDllFreeMap();
ORVIK_MODULE_EXPORT int32_t OrvikDllCanUnloadNow();
ORVIK_MODULE_EXPORT void SetFactoryHandle(Orvik::Platform::ModuleHandle handle);
ORVIK_MODULE_EXPORT void OrvikSetDllSafe(int32_t flag);
ORVIK_MODULE_EXPORT int32_t GetComponentIDs(uint32_t* ids, int32_t max);

namespace Orvik {

// The exports' types, for callers that find them with FindExport.
using CreateComponentExport = IComponent* (*)(int32_t componentId, uint32_t creatorId);
using SetDllRegistryExport = int32_t (*)(const char* path);
using OrvikDllFreeMapExport = void (*)();
using OrvikDllCanUnloadNowExport = int32_t (*)();
using SetFactoryHandleExport = void (*)(Platform::ModuleHandle handle);
using OrvikSetDllSafeExport = void (*)(int32_t flag);
using GetComponentIdsExport = int32_t (*)(uint32_t* ids, int32_t max);

}  // namespace Orvik
