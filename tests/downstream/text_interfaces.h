#pragma once
// The interfaces of this project's two modules.

#include <cstdint>

#include "orvik/module/component.h"

namespace Downstream {

// TextTool.dll, named by its section in Orvik.ini.
class ITextTool : public Orvik::IComponent {
public:
    static constexpr Orvik::ComponentId kComponentId = 7100;
    // Writes text in capitals into buffer (size bytes); the length written,
    // or -1 when it does not fit.
    virtual int32_t Capitalize(const char* text, char* buffer, int32_t size) = 0;

protected:
    ~ITextTool() = default;
};

// The app component of TextApp.dll, which the host creates itself.
class ITextApp : public Orvik::IComponent {
public:
    static constexpr Orvik::ComponentId kComponentId = 7101;
    // Capitalizes text through a text tool obtained from the factory and
    // released at once; 0 when no tool came.
    virtual int32_t Shout(const char* text, char* buffer, int32_t size) = 0;

protected:
    ~ITextApp() = default;
};

}  // namespace Downstream
