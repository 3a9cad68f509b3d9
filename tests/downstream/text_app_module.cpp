// TextApp.dll: the app component. It finds the factory through Orvik.ini in
// the host's directory and gets its text tool from there.

#include "orvik/bootstrap/orvik_ptr.h"
#include "orvik/module/component_impl.h"
#include "text_interfaces.h"

namespace Downstream {
namespace {

class CTextApp : public Orvik::TComponentImpl<ITextApp, CTextApp, ITextApp::kComponentId, 0, 0> {
public:
    int32_t Shout(const char* text, char* buffer, int32_t size) override
    {
        Orvik::TOrvikPtr<ITextTool, 1> tool;
        return tool ? tool->Capitalize(text, buffer, size) : 0;
    }

    void Uninitialize() override {}
};

Orvik::TComponentRegistrar<CTextApp> textAppRegistrar;

}  // namespace
}  // namespace Downstream
