#pragma once
// Whether the loader holds a module for a name a module needs: asked of the
// loader for each module checked before loading, mostly for the same few
// names (the run-time, the platform library).

#include <string>

namespace Orvik {
namespace Platform {

// How many modules the loader has unloaded so far; it never goes down, and
// each unload raises it.
unsigned long long LoaderUnloads();

// Whether the loader would take a module it holds already for that needed
// name. A name found once is known until the loader unloads any module:
// unloads is LoaderUnloads() read before the loader is asked, so that an
// unload meanwhile leaves the answer under a count already out of date.
bool IsLoadedByName(const std::string& name, unsigned long long unloads);

}  // namespace Platform
}  // namespace Orvik
