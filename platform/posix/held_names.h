#pragma once
// Whether the loader holds a module for a name a module needs: asked of the
// loader for each module checked before loading, mostly for the same few
// names (the run-time, the platform library).

#include <string>

namespace Orvik {
namespace Platform {

// Whether the loader would take a module it holds already for that needed
// name. A name found once is known until the loader unloads any module.
bool IsLoadedByName(const std::string& name);

}  // namespace Platform
}  // namespace Orvik
