#pragma once
// The two halves of fact_stdcall, a module made the way another compiler
// makes one, on the framework's public headers alone: its exports in a unit
// whose default calling convention is stdcall on 32-bit Windows, its
// component in a unit built as usual. They share data only, so that no
// call inside the module crosses from one convention to the other.

#include "tests/factory/modules/probe_interfaces.h"

namespace Orvik::Testing {

struct StdcallModuleState {
    IProviderProbe* component;  // one static object, handed out to every request
    int32_t live;               // handed out and not yet released
    char registryPath[Platform::kMaxPath];
};
extern StdcallModuleState g_stdcallModule;

}  // namespace Orvik::Testing
