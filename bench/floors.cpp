#include "bench/floors.h"

#include "bench/modules/plain_probe.h"

namespace Orvik::Bench {

int32_t LoaderLookups(Native::Module module)
{
    int32_t found = 0;
    for (const char* name : {"SetDLLRegistry", "SetFactoryHandle", "CreateComponent"}) {
        if (Native::Symbol(module, name) != nullptr) ++found;
    }
    return found;
}

int32_t LoaderIdleCycle(const std::string& nativePath, int32_t x)
{
    const Native::Module module = Native::Open(nativePath.c_str());
    if (module == nullptr) return -1;
    int32_t result = -1;
    const auto create = reinterpret_cast<PlainCreateFunction>(Native::Symbol(module, kPlainCreateName));
    const bool others =
        Native::Symbol(module, kPlainOtherNames[0]) != nullptr && Native::Symbol(module, kPlainOtherNames[1]) != nullptr;
    if (create != nullptr && others) {
        PlainProbe* probe = create(0);
        result = probe->Work(x);
        probe->Release();
    }
    Native::Close(module);
    return result;
}

}  // namespace Orvik::Bench
