#pragma once
// Plain exports and imports for the hand-made modules of the orvik tests.

#include <cstdint>

#if defined(_WIN32)
#define TOOL_EXPORT_CPP __declspec(dllexport)
#define TOOL_IMPORT_CPP __declspec(dllimport)
#else
#define TOOL_EXPORT_CPP __attribute__((visibility("default")))
#define TOOL_IMPORT_CPP
#endif
#define TOOL_EXPORT extern "C" TOOL_EXPORT_CPP
#define TOOL_IMPORT extern "C" TOOL_IMPORT_CPP
