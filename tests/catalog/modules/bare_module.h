#pragma once
// Modules made by hand, without the module runtime, each exporting only
// some of the seven functions: the catalog must cope with any subset.

#include <cstring>

#include "tests/catalog/modules/catalog_probe.h"

#if defined(_WIN32)
#define BARE_MODULE_EXPORT extern "C" __declspec(dllexport)
#else
#define BARE_MODULE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace Orvik {
namespace Testing {

// One object for the module's life; Release leaves it alone.
template <int32_t Tag>
class TStaticProbe : public ICatalogProbe {
public:
    ComponentId GetComponentID() override { return 0; }
    int32_t GetVersion() override { return 1; }
    void Release(int32_t) override {}
    uint32_t GetAutoRelease() override { return 0; }
    void SetAutoRelease(uint32_t) override {}
    void Reserved1() override {}
    void Reserved2() override {}
    void Reserved3() override {}
    int32_t ModuleTag() override { return Tag; }
    void CopyRegistryPath(char* buffer, int32_t size) override
    {
        if (size > 0 && std::strlen(registryPath) < static_cast<size_t>(size)) std::strcpy(buffer, registryPath);
    }

    char registryPath[Platform::kMaxPath] = {};
};

}  // namespace Testing
}  // namespace Orvik
