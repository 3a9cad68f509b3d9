#pragma once
// Plain exports and imports for the hand-made modules of the orvik tests.

#include <cstdint>

#if defined(_WIN32)
#define TOOL_EXPORT extern "C" __declspec(dllexport)
#define TOOL_IMPORT extern "C" __declspec(dllimport)
#else
#define TOOL_EXPORT extern "C" __attribute__((visibility("default")))
#define TOOL_IMPORT extern "C"
#endif
