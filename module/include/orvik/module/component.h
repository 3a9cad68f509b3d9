#pragma once
// The contract every component keeps across separately built modules: the
// operations of IComponent in this fixed order, no virtual destructor, and
// death only through the component's own Release.

#include <cstdint>

namespace Orvik {

using ComponentId = uint32_t;
// Who asked for a component: the factory's id when a catalog asks, 0 when a
// module's bootstrap asks for the factory itself.
using CreatorId = uint32_t;

constexpr ComponentId kFactoryComponentId = 361;
constexpr ComponentId kProcessRegisterComponentId = 991;

class IComponent {
public:
    virtual ComponentId GetComponentID() = 0;
    virtual int32_t GetVersion() = 0;
    // force 0 is ignored by components that need a forced release.
    virtual void Release(int32_t force) = 0;
    // A nonzero mark lets the module's OrvikDllFreeMap release the component.
    virtual uint32_t GetAutoRelease() = 0;
    virtual void SetAutoRelease(uint32_t value) = 0;
    virtual void Reserved1() = 0;
    virtual void Reserved2() = 0;
    virtual void Reserved3() = 0;

protected:
    // Components are never deleted by their users.
    ~IComponent() = default;
};

}  // namespace Orvik
