#pragma once
// The floors that call the system loader: nothing of the framework runs in
// them. Each answers what the work answered, so a caller can check it.

#include <cstdint>
#include <string>

#include "bench/native_loader.h"

namespace Orvik::Bench {

// The three lookups a request for a section's module makes, by the
// loader's own lookup; the number of exports found.
int32_t LoaderLookups(Native::Module module);

// A module already loaded, opened again by its path, its three exports
// looked up, one of its components created, called and released, and the
// module closed: what a request for a module that fell idle has to do.
// Work's answer, -1 when something was missing.
int32_t LoaderIdleCycle(const std::string& nativePath, int32_t x);

}  // namespace Orvik::Bench
