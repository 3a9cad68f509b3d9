#pragma once
// Whether a file may be handed to the loader. The loader trusts a module
// file: a segment that reaches past the end of a truncated file faults
// (SIGBUS) when first touched, and damaged tables send it reading and
// writing out of bounds. Windows refuses such files as not loadable (193);
// this check refuses them before the loader sees them.

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/posix/module_file.h"

namespace Orvik {
namespace Platform {

// kErrorSuccess when the module file and the dependencies the loader would
// load with it from the module's own search paths pass the check; 193 when
// one of them is no loadable module, 5 when one cannot be read. A file
// refused for its contents is named in refusal with the reason
// ("<file>: <reason>"); refusal stays empty for any other result. file is
// the file found at nativePath: a settled file that passed before, in this
// process or an earlier one (pass_store.h), is not opened again while it is
// the same; any other is opened here for reading.
uint32_t CheckModuleFile(const std::string& nativePath, ModuleFile* file, char* refusal, size_t size);

}  // namespace Platform
}  // namespace Orvik
