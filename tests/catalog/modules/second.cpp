// Provides 20 and 30; its creator of 21 makes nothing.

#include "tests/catalog/modules/runtime_probe.h"

namespace Orvik {
namespace Testing {
namespace {

class CSecond20 : public TRuntimeProbe<CSecond20, 20, kSecondTag> {};
class CSecond30 : public TRuntimeProbe<CSecond30, 30, kSecondTag> {};

IComponent* CreateNothing() { return nullptr; }

struct NothingRegistrar {
    NothingRegistrar() { RegisterCreator(21, CreateNothing); }
};

TComponentRegistrar<CSecond20> registrar20;
TComponentRegistrar<CSecond30> registrar30;
NothingRegistrar registrar21;

}  // namespace
}  // namespace Testing
}  // namespace Orvik
