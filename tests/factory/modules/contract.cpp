// A provider that writes a debug line as soon as any of its code runs.

#include "orvik/module/component_impl.h"
#include "orvik/module/debug_line.h"
#include "tests/factory/modules/probe_interfaces.h"

namespace Orvik::Testing {
namespace {

struct Announcer {
    Announcer() { OutputDebugLine("%s", kContractProbeLine); }
} announcer;

class CContract : public TComponentImpl<TProbe<kContractId>, CContract, kContractId, 0, 0> {
public:
    int32_t ModuleTag() override { return 0; }
    void CopyRegistryPath(char*, int32_t) override {}
    void QueryLog(LogQuery*) override {}
    void Uninitialize() override {}
};

TComponentRegistrar<CContract> registrar;

}  // namespace
}  // namespace Orvik::Testing
