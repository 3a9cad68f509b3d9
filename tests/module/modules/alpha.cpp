// A module with one component class of each kind the runtime knows.

#include "tests/module/modules/test_probe.h"

namespace Orvik::Testing {

std::atomic<int32_t> g_uninitializeCount{0};

namespace {

class CPlain : public TProbe<CPlain, 201, 0, 0, 1> {};
// A second creator for 201: registered later, so never used.
class CPlainShadow : public TProbe<CPlainShadow, 201, 0, 0, 2> {};
class CSingleton : public TProbe<CSingleton, 202, 1, 0, 3> {};
class CForced : public TProbe<CForced, 203, 0, 1, 4> {};
// Wants more alignment than the allocator gives by default: made and freed
// with the allocation functions of its alignment.
class CAligned : public TProbe<CAligned, 206, 0, 0, 6> {
public:
    int32_t Tag() override { return reinterpret_cast<uintptr_t>(line_) % kLine == 0 ? 6 : -1; }

private:
    static constexpr size_t kLine = 128;
    alignas(kLine) char line_[kLine] = {};
};

// Tags whether the process attach had run when the class was registered.
class CStartup : public TProbe<CStartup, 205, 0, 0, 5> {
public:
    int32_t Tag() override { return attachedBeforeRegistration ? 1 : 0; }
    static inline bool attachedBeforeRegistration = false;
};

IComponent* CreateNothing() { return nullptr; }

struct OtherRegistrations {
    OtherRegistrations()
    {
        RegisterCreator(204, CreateNothing);
        CStartup::attachedBeforeRegistration = ThisModuleHandle() != nullptr;
        RegisterCreator(CStartup::kComponentId, &CStartup::CreateInstance);
    }
};

TComponentRegistrar<CPlain> plainRegistrar;
TComponentRegistrar<CPlainShadow> shadowRegistrar;
TComponentRegistrar<CSingleton> singletonRegistrar;
TComponentRegistrar<CForced> forcedRegistrar;
OtherRegistrations otherRegistrations;
TComponentRegistrar<CAligned> alignedRegistrar;

}  // namespace
}  // namespace Orvik::Testing
