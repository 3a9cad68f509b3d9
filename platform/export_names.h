#pragma once
// The names a module file exports, read from the file without loading it,
// for tools that judge how a module was built.

#include "orvik/platform/platform_api.h"

namespace Orvik {
namespace Platform {

// Receives one exported name; the text lives until the call returns.
using ExportNameSink = void (*)(const char* name, void* context);

// Hands each name the file exports to sink, in table order; false when the
// file cannot be read or is no module of this platform.
ORVIK_PLATFORM_API bool ReadExportNames(const char* path, ExportNameSink sink, void* context);

}  // namespace Platform
}  // namespace Orvik
