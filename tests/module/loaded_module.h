#pragma once
// A component module the tests load at run time, and its exports.

#include <cstdint>
#include <string>

#include "orvik/module/module_exports.h"
#include "orvik/platform/unique_handle.h"
#include "tests/module/modules/test_probe.h"
#include "tests/support/test_paths.h"

namespace Orvik::Testing {

// A loaded component module and its exports.
class LoadedModule {
public:
    explicit LoadedModule(const char* name)
        : module_(Platform::LoadModule((ProgramDirectory() + "\\" + name).c_str()))
    {
    }

    void Unload() { module_.reset(); }
    Platform::ModuleHandle handle() const { return module_.get(); }

    template <class Export>
    typename Export::Function Get() const
    {
        return FindModuleExport<Export>(module_.get());
    }
    ITestProbe* Create(int32_t id, uint32_t creator = 361) const
    {
        return static_cast<ITestProbe*>(Get<Exports::CreateComponent>()(id, creator));
    }
    int32_t CanUnloadNow() const { return Get<Exports::OrvikDllCanUnloadNow>()(); }
    void SetRegistry(const char* path) const { Get<Exports::SetDLLRegistry>()(path); }
    int32_t ComponentIds(uint32_t* ids, int32_t max) const { return Get<Exports::GetComponentIDs>()(ids, max); }

private:
    Platform::UniqueModule module_;
};

}  // namespace Orvik::Testing
