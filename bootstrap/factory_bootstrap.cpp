#include "orvik/bootstrap/factory_bootstrap.h"

#include <atomic>
#include <new>

#include "orvik/bootstrap/orvik_ptr.h"
#include "bootstrap/profile_resolution.h"
#include "orvik/module/debug_line.h"
#include "orvik/module/factory_notices.h"
#include "orvik/module/module_exports.h"
#include "orvik/module/module_runtime.h"

namespace Orvik {

std::atomic<IOrvikComponentFactory*> Detail::g_moduleFactory{nullptr};

void ForgetFactory(IOrvikComponentFactory* factory)
{
    Detail::g_moduleFactory.compare_exchange_strong(factory, nullptr);
}

Platform::ModuleHandle LoadFactoryModule(const char* configPath, FactoryModuleSource source)
{
    if (source == FactoryModuleSource::GivenHandle) {
        if (Platform::ModuleHandle given = FactoryModuleHandle()) return given;
    } else if (Platform::ModuleHandle loaded = Platform::FindLoadedModule("OrvFact.dll")) {
        return loaded;
    }
    char modulePath[Platform::kMaxPath] = {};
    // Following the redirects keeps a list of the profiles read, and a
    // profile's bytes are kept while its values are read: without the
    // memory for them, the module cannot be found this time.
    try {
        ResolveFactoryModuleFromConfig(configPath, modulePath, sizeof modulePath);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    // The bootstrap never frees the factory module.
    return Platform::LoadModule(modulePath);
}

IOrvikComponentFactory* CreateFactoryFromModule(Platform::ModuleHandle module)
{
    auto createComponent = FindModuleExport<Exports::CreateComponent>(module);
    if (createComponent == nullptr) {
        OutputDebugLine("[Orvik_Error] Can't find CreateComponent().\n");
        return nullptr;
    }
    IComponent* factory = createComponent(static_cast<int32_t>(kFactoryComponentId), 0);
    if (factory == nullptr) {
        OutputDebugLine("[Orvik_Error] CreateComponent(ComponentId=%u) return null.\n", kFactoryComponentId);
    }
    return static_cast<IOrvikComponentFactory*>(factory);
}

void LoadFactory(const char* configPath, FactoryModuleSource source)
{
    const Platform::ModuleHandle module = LoadFactoryModule(configPath, source);
    if (module == nullptr) {
        OutputDebugLine("[Orvik_Error] Load OrvFact.dll Fail.\n");
        return;
    }
    Detail::g_moduleFactory = CreateFactoryFromModule(module);
    if (ModuleFactory() == nullptr) OutputDebugLine("[Orvik_Error] Create ComponentFactory in OrvFact.dll Fail\n");
}

void SendIdleNotice(Platform::ModuleHandle module)
{
    TOrvikPtr<IOrvikComponentFactory, 0> factory;
    if (factory) factory->NotifyModuleIdle(module);
}

void RegisterSingleton(ComponentId componentId, IComponent* instance)
{
    TOrvikPtr<IOrvikComponentFactory, 1> factory;
    if (factory) factory->RegisterInstance(componentId, instance);
}

}  // namespace Orvik
