#include "orvik/bootstrap/root_path.h"

#include <atomic>

#include "orvik/bootstrap/orvik_ptr.h"
#include "bootstrap/process_register.h"
#include "orvik/platform/lock.h"
#include "orvik/platform/platform_api.h"
#include "orvik/util/bootstrap_helpers.h"

namespace Orvik {

namespace {
char g_rootPath[Platform::kMaxPath];
// Guards g_rootPath while it is empty; once filled it never changes. Held
// while the process register is asked, so only one thread asks. The
// platform's lock rather than a standard mutex, whose failure path would
// bring the run-time's error classes into every module.
Platform::CriticalSection& RootPathLock()
{
    static Platform::OwnedLock lock;
    return lock.section();
}
std::atomic<bool> g_rootPathKnown{false};

// The values the register is asked with; their meaning is the register's.
constexpr uint32_t kRootPathKeyBase = 0x3FFFFFF4;
constexpr uint32_t kRootPathKeyOption = 1;
constexpr uint32_t kRootPathValueType = 1;
}  // namespace

const char* GetRootPath()
{
    if (g_rootPathKnown.load(std::memory_order_acquire)) return g_rootPath;
    Platform::LockGuard guard(RootPathLock());
    if (g_rootPath[0] != '\0') return g_rootPath;
    TOrvikPtr<IProcessRegister, 1> processRegister(nullptr, FactoryModuleSource::LoadedModule);
    bool found = false;
    if (processRegister) {
        uint32_t key = 0;
        uint32_t type = kRootPathValueType;
        uint32_t size = sizeof g_rootPath;
        if (processRegister->OpenKey(kRootPathKeyBase, "orvik_rootpath", kRootPathKeyOption, kRootPathKeyBase, &key) != 0) {
            found = processRegister->QueryValue(key, "orvik_rootpath_data", &type, g_rootPath, &size) != 0;
            g_rootPath[sizeof g_rootPath - 1] = '\0';
        }
    }
    if (!found) {
        g_rootPath[0] = '\0';
        CopyString(g_rootPath, sizeof g_rootPath, GetHostDirectory());
    }
    if (g_rootPath[0] != '\0') g_rootPathKnown.store(true, std::memory_order_release);
    return g_rootPath;
}

}  // namespace Orvik
