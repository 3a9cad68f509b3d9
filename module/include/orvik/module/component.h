#pragma once
/// \file
/// The contract every component keeps across separately built modules: the
/// operations of IComponent in this fixed order, no virtual destructor, and
/// death only through the component's own Release.

#include <cstdint>

namespace Orvik {

/// A component's numeric id; it tells the factory what to make.
using ComponentId = uint32_t;
/// Who asked for a component: the factory's id when a catalog asks, 0 when a
/// module's bootstrap asks for the factory itself.
using CreatorId = uint32_t;

/// The factory (IOrvikComponentFactory).
constexpr ComponentId kFactoryComponentId = 361;
/// The process register, which may give the process root path.
constexpr ComponentId kProcessRegisterComponentId = 991;

/// The base of every interface. Its operations keep this order in every
/// module; an interface derived from it appends its own, under the rules of
/// \ref compilers "Interfaces for modules of other compilers".
class IComponent {
public:
    /// The id the component was made for.
    virtual ComponentId GetComponentID() = 0;
    /// The implementation's version; 1 for components made with
    /// TComponentImpl.
    virtual int32_t GetVersion() = 0;
    /// Ends the component, running its module's code. force 0 is ignored by
    /// components that need a forced release.
    virtual void Release(int32_t force) = 0;
    /// A nonzero mark lets the module's OrvikDllFreeMap release the component.
    virtual uint32_t GetAutoRelease() = 0;
    /// Sets the auto-release mark.
    virtual void SetAutoRelease(uint32_t value) = 0;
    /// Reserved: keeps its table slot. TComponentImpl's does nothing.
    virtual void Reserved1() = 0;
    /// Reserved: keeps its table slot. TComponentImpl's does nothing.
    virtual void Reserved2() = 0;
    /// Reserved: keeps its table slot. TComponentImpl's does nothing.
    virtual void Reserved3() = 0;

protected:
    /// Components are never deleted by their users.
    ~IComponent() = default;
};

}  // namespace Orvik
