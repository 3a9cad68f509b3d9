// fact_stdcall's one component, built with the compiler's usual conventions:
// another compiler's stdcall switch leaves member functions as they are.

#include <cstring>

#include "tests/factory/modules/stdcall_module.h"

namespace Orvik::Testing {
namespace {

class CStdcallProbe : public TProbe<kStdcallId> {
public:
    ComponentId GetComponentID() override { return kStdcallId; }
    int32_t GetVersion() override { return 1; }
    void Release(int32_t) override { --g_stdcallModule.live; }
    uint32_t GetAutoRelease() override { return 0; }
    void SetAutoRelease(uint32_t) override {}
    void Reserved1() override {}
    void Reserved2() override {}
    void Reserved3() override {}
    int32_t ModuleTag() override { return kStdcallTag; }
    void CopyRegistryPath(char* buffer, int32_t size) override
    {
        if (size > 0 && std::strlen(g_stdcallModule.registryPath) < static_cast<size_t>(size)) {
            std::strcpy(buffer, g_stdcallModule.registryPath);
        }
    }
    // Without a factory of its own to ask, the component has no log setting.
    void QueryLog(LogQuery* query) override { *query = LogQuery{0, 0, nullptr}; }
};

CStdcallProbe g_probe;

}  // namespace

StdcallModuleState g_stdcallModule = {&g_probe, 0, {}};

}  // namespace Orvik::Testing
