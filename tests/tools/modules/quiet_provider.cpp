// A component module whose components do nothing; built once per module
// with the ids it provides (PROVIDER_IDS).

#include "orvik/module/component_impl.h"

namespace {

template <Orvik::ComponentId Id>
class IQuiet : public Orvik::IComponent {
public:
    static constexpr Orvik::ComponentId kComponentId = Id;

protected:
    ~IQuiet() = default;
};

template <Orvik::ComponentId Id>
class CQuiet : public Orvik::TComponentImpl<IQuiet<Id>, CQuiet<Id>, Id, 0, 0> {
public:
    void Uninitialize() override {}
};

template <Orvik::ComponentId... Ids>
struct Registrars {
    Registrars() { (Orvik::RegisterCreator(Ids, &CQuiet<Ids>::CreateInstance), ...); }
};

Registrars<PROVIDER_IDS> registrars;

}  // namespace
