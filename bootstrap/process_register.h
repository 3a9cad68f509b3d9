#pragma once
// The process register, a component of another module (id 991). The
// bootstrap asks it for the process root path.

#include "orvik/module/component.h"

namespace Orvik {

class IProcessRegister : public IComponent {
public:
    static constexpr ComponentId kComponentId = kProcessRegisterComponentId;

    // Operations the framework does not use; they hold their places in the
    // operation order.
    virtual void UnusedOperation1() = 0;
    virtual void UnusedOperation2() = 0;
    virtual void UnusedOperation3() = 0;
    // Nonzero on success; key receives the opened key.
    virtual int32_t OpenKey(uint32_t parent, const char* name, uint32_t third, uint32_t fourth, uint32_t* key) = 0;
    virtual void UnusedOperation4() = 0;
    virtual void UnusedOperation5() = 0;
    // Nonzero on success; size is the buffer's size in, the value's out.
    virtual int32_t QueryValue(uint32_t key, const char* name, uint32_t* type, char* buffer, uint32_t* size) = 0;

protected:
    ~IProcessRegister() = default;
};

}  // namespace Orvik
