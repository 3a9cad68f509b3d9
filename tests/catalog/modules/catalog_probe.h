#pragma once
// What the catalog tests see of the provider modules they load.

#include <cstdint>
#include <cstring>

#include "orvik/module/component.h"
#include "orvik/platform/module_loader.h"

namespace Orvik::Testing {

// Every component of the test modules.
class ICatalogProbe : public IComponent {
public:
    // Which module made the component.
    virtual int32_t ModuleTag() = 0;
    // The configuration name the module was given through SetDLLRegistry.
    virtual void CopyRegistryPath(char* buffer, int32_t size) = 0;

protected:
    ~ICatalogProbe() = default;
};

enum ModuleTag : int32_t { kFirstTag = 1, kSecondTag = 2, kCounterTag = 3, kNoIdsTag = 4 };

// How often the counting module was told and asked; read through its
// export "ReadCallCounts".
struct CallCounts {
    int32_t setRegistryCalls;
    int32_t setFactoryCalls;
    int32_t createCalls;
    uint32_t lastCreatorId;
    Platform::ModuleHandle lastFactoryHandle;
};
using ReadCallCountsExport = void (*)(CallCounts* counts);

// What the re-entrant module writes while it is being loaded.
constexpr const char* kReentrantLoadingLine = "catalog test: cat_reenter loading\n";

// For the modules made by hand, without the module runtime, each exporting
// only some of the seven functions: the catalog must cope with any subset.
#if defined(_WIN32)
#define BARE_MODULE_EXPORT extern "C" __declspec(dllexport)
#else
#define BARE_MODULE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

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

}  // namespace Orvik::Testing
