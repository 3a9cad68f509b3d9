#pragma once
// What the catalog tests see of the provider modules they load.

#include <cstdint>

#include "module/component.h"
#include "platform/module_loader.h"

namespace Orvik {
namespace Testing {

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

}  // namespace Testing
}  // namespace Orvik
