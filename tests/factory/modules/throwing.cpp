// A provider whose component cannot be made: its constructor throws.

#include <stdexcept>

#include "orvik/module/component_impl.h"
#include "tests/factory/modules/probe_interfaces.h"

namespace Orvik::Testing {
namespace {

class CThrowing : public TComponentImpl<TProbe<kThrowingId>, CThrowing, kThrowingId, 0, 0> {
public:
    CThrowing() { throw std::runtime_error("cannot start"); }
    int32_t ModuleTag() override { return 0; }
    void CopyRegistryPath(char*, int32_t) override {}
    void QueryLog(LogQuery*) override {}
    void Uninitialize() override {}
};

TComponentRegistrar<CThrowing> registrar;

}  // namespace
}  // namespace Orvik::Testing
