#pragma once
// The running executable's path, the one thing about the process that never
// changes: read once, then kept.

#include <string>

namespace Orvik {
namespace Platform {

// Native form, absolute; empty when the system does not tell.
const std::string& ExecutablePath();

}  // namespace Platform
}  // namespace Orvik
