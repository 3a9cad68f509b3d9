#pragma once
/// \file
/// The seven functions every component module exports, written once:
/// ordinal, name, result and parameters. The module definition file, the ELF
/// version script and the export check are generated from these lines too, so
/// keep one export per line in this form.

/// Expands to X(ordinal, name, result, parameters) for each export, in ordinal
/// order; module_exports.h declares the functions and the Exports types
/// with it.
#define ORVIK_MODULE_EXPORT_LIST(X)                                                      \
    X(1, CreateComponent, Orvik::IComponent*, (int32_t componentId, uint32_t creatorId)) \
    X(2, SetDLLRegistry, int32_t, (const char* path))                                    \
    X(3, OrvikDllFreeMap, void, ())                                                      \
    X(4, OrvikDllCanUnloadNow, int32_t, ())                                              \
    X(5, SetFactoryHandle, void, (Orvik::Platform::ModuleHandle handle))                 \
    X(6, OrvikSetDllSafe, void, (int32_t flag))                                          \
    X(7, GetComponentIDs, int32_t, (uint32_t* ids, int32_t max))
