#pragma once
// The system loader's own calls, for the floors: opening a module, looking
// up an export, closing it, with nothing of the framework on the way.

namespace Orvik::Bench::Native {

using Module = void*;
using Function = void (*)();

// Null when the module cannot be loaded.
Module Open(const char* nativePath);
Function Symbol(Module module, const char* name);
void Close(Module module);

}  // namespace Orvik::Bench::Native
