// TextTool.dll: a component that capitalizes text.

#include <cctype>
#include <cstring>

#include "orvik/module/component_impl.h"
#include "orvik/module/debug_line.h"
// The project's own header of a name the framework's headers once used.
#include "platform/debug_output.h"
#include "text_interfaces.h"

namespace Downstream {
namespace {

class CTextTool : public Orvik::TComponentImpl<ITextTool, CTextTool, ITextTool::kComponentId, 0, 0> {
public:
    int32_t Capitalize(const char* text, char* buffer, int32_t size) override
    {
        const size_t length = std::strlen(text);
        if (size <= 0 || length >= static_cast<size_t>(size)) return -1;
        for (size_t i = 0; i <= length; ++i) {
            buffer[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[i])));
        }
        return static_cast<int32_t>(length);
    }

    void Uninitialize() override { Orvik::OutputDebugLine("%sreleased", DebugPrefix()); }
};

Orvik::TComponentRegistrar<CTextTool> textToolRegistrar;

}  // namespace
}  // namespace Downstream
