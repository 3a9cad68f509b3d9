// A module that tries to register 513 classes, plus a zero id and a null
// creator.

#include "tests/module/modules/test_probe.h"

namespace Orvik::Testing {

std::atomic<int32_t> g_uninitializeCount{0};

namespace {

class CNumbered : public TProbe<CNumbered, 1, 0, 0, 9> {};

struct CrowdRegistrar {
    CrowdRegistrar()
    {
        RegisterCreator(0, &CNumbered::CreateInstance);
        RegisterCreator(77, nullptr);
        for (ComponentId id = 1; id <= 513; ++id) RegisterCreator(id, &CNumbered::CreateInstance);
    }
};

CrowdRegistrar crowdRegistrar;

}  // namespace
}  // namespace Orvik::Testing
