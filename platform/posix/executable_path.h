#pragma once
// The running executable's path, the one thing about the process that never
// changes: kept once the system has told it.

#include <string>

namespace Orvik {
namespace Platform {

// Native form, absolute; empty, with the last error set, when the system
// does not tell. A failed lookup is made again at the next call.
std::string ExecutablePath();

}  // namespace Platform
}  // namespace Orvik
