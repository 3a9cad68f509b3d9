#include "orvik/host/app_host.h"

#include <cstring>
#include <new>

#include "orvik/module/component_factory.h"
#include "orvik/module/module_exports.h"

namespace Orvik {
namespace Host {

namespace {

IComponent* CreateFromModule(Platform::ModuleHandle module, ComponentId id)
{
    if (module == nullptr) return nullptr;
    auto create = FindModuleExport<Exports::CreateComponent>(module);
    // Creator id 0: not a catalog of the factory asking.
    return create != nullptr ? create(static_cast<int32_t>(id), 0) : nullptr;
}

}  // namespace

std::string ProgramDirectory()
{
    char path[Platform::kMaxPath] = {};
    Platform::GetModuleFilePath(nullptr, path, sizeof path);
    try {
        const std::string program(path);
        return program.substr(0, program.rfind('\\'));
    } catch (const std::bad_alloc&) {
        return std::string();
    }
}

AppHost::AppHost(const char* appModule, const char* factoryModule) : appModule_(Platform::LoadModule(appModule))
{
    // Kept in the host itself: making one needs no memory that could fail
    // to come.
    if (factoryModule == nullptr || std::strlen(factoryModule) >= sizeof factoryModule_) factoryModule = "";
    std::strcpy(factoryModule_, factoryModule);
}

AppHost::~AppHost()
{
    if (!shutDown_) Shutdown();
}

IComponent* AppHost::CreateComponent(ComponentId id)
{
    // Room first: a component once made is always kept, and released at
    // shutdown.
    try {
        components_.reserve(components_.size() + 1);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    IComponent* component = CreateFromModule(appModule_.get(), id);
    if (component != nullptr) components_.push_back(component);
    return component;
}

bool AppHost::Shutdown()
{
    shutDown_ = true;
    for (auto it = components_.rbegin(); it != components_.rend(); ++it) (*it)->Release(0);
    components_.clear();
    // The factory is one object per process: its module hands the same one
    // to whoever asks for 361.
    auto* factory = static_cast<IOrvikComponentFactory*>(
        CreateFromModule(Platform::FindLoadedModule(factoryModule_), kFactoryComponentId));
    if (factory == nullptr) return false;
    factory->ReleaseRegisteredInstances();
    factory->Release(1);
    return true;
}

}  // namespace Host
}  // namespace Orvik
