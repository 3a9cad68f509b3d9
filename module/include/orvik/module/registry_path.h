#pragma once
/// \file
/// The module's registry path: the configuration name the module was given.
/// Requests read it on every TOrvikPtr construction, so readers take no lock
/// and copy nothing: every text the path has held stays valid until the
/// module ends, and the current one is published atomically.

#include <atomic>

namespace Orvik {

namespace Detail {
/// The current registry path behind RegistryPath(); never null.
extern std::atomic<const char*> g_registryPath;
}  // namespace Detail

/// The current registry path; valid for the module's life.
inline const char* RegistryPath() { return Detail::g_registryPath.load(std::memory_order_acquire); }
/// Makes path (null or too long: empty) the registry path. Callers hold the
/// module lock, so writers never race each other.
void StoreRegistryPath(const char* path);
/// At the module's end, after its last request: the kept texts go.
void ForgetRegistryPaths();

}  // namespace Orvik
