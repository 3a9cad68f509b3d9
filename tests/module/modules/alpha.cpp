// A module with one component class of each kind the runtime knows.

#include "tests/module/modules/probe_components.h"

namespace Orvik {
namespace Testing {

std::atomic<int32_t> g_uninitializeCount{0};

namespace {

class CPlain : public TProbe<CPlain, 201, 0, 0, 1> {};
// A second creator for 201: registered later, so never used.
class CPlainShadow : public TProbe<CPlainShadow, 201, 0, 0, 2> {};
class CSingleton : public TProbe<CSingleton, 202, 1, 0, 3> {};
class CForced : public TProbe<CForced, 203, 0, 1, 4> {};

// Tags whether the process attach had run when the class was registered.
class CStartup : public TProbe<CStartup, 205, 0, 0, 5> {
public:
    int32_t Tag() override { return attachedBeforeRegistration ? 1 : 0; }
    static bool attachedBeforeRegistration;
};
bool CStartup::attachedBeforeRegistration = false;

struct StartupRegistrar {
    StartupRegistrar()
    {
        CStartup::attachedBeforeRegistration = ThisModuleHandle() != nullptr;
        RegisterCreator(CStartup::kComponentId, &CStartup::CreateInstance);
    }
};

IComponent* CreateNothing() { return nullptr; }

struct NullCreatorRegistrar {
    NullCreatorRegistrar() { RegisterCreator(204, CreateNothing); }
};

TComponentRegistrar<CPlain> plainRegistrar;
TComponentRegistrar<CPlainShadow> shadowRegistrar;
TComponentRegistrar<CSingleton> singletonRegistrar;
TComponentRegistrar<CForced> forcedRegistrar;
NullCreatorRegistrar nullCreatorRegistrar;
StartupRegistrar startupRegistrar;

}  // namespace
}  // namespace Testing
}  // namespace Orvik
