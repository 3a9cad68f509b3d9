// A stand-in factory module: serves a few ids and writes every call it
// receives as a debugger line "[TestFactory] ...", which the tests read.

#include <cinttypes>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "bootstrap/process_register.h"
#include "orvik/module/component_factory.h"
#include "orvik/module/component_impl.h"
#include "orvik/module/debug_line.h"
#include "orvik/module/module_exports.h"
#include "tests/bootstrap/modules/test_interfaces.h"

namespace Orvik::Testing {
namespace {

uintptr_t Number(const void* pointer) { return reinterpret_cast<uintptr_t>(pointer); }

int32_t g_registerMode = IRegisterControl::kAbsent;
std::string g_registerRoot;

class CTestService : public TComponentImpl<ITestService, CTestService, ITestService::kComponentId, 0, 0> {
public:
    int32_t Value() override { return 42; }
    void Uninitialize() override { OutputDebugLine("[TestFactory] service %" PRIxPTR " released\n", Number(this)); }
};

class CRegister : public TComponentImpl<IProcessRegister, CRegister, IProcessRegister::kComponentId, 0, 0> {
public:
    void UnusedOperation1() override {}
    void UnusedOperation2() override {}
    void UnusedOperation3() override {}
    void UnusedOperation4() override {}
    void UnusedOperation5() override {}
    int32_t OpenKey(uint32_t parent, const char* name, uint32_t third, uint32_t fourth, uint32_t* key) override
    {
        OutputDebugLine("[TestFactory] OpenKey(%#x, %s, %u, %#x)\n", parent, name, third, fourth);
        *key = 77;
        return g_registerMode != IRegisterControl::kOpenKeyFails;
    }
    int32_t QueryValue(uint32_t key, const char* name, uint32_t* type, char* buffer, uint32_t* size) override
    {
        OutputDebugLine("[TestFactory] QueryValue(%u, %s, %u, %u)\n", key, name, *type, *size);
        if (g_registerMode != IRegisterControl::kAnswers) return 0;
        std::strncpy(buffer, g_registerRoot.c_str(), *size);
        return 1;
    }
    void Uninitialize() override {}
};

class CRegisterControl
    : public TComponentImpl<IRegisterControl, CRegisterControl, IRegisterControl::kComponentId, 0, 0> {
public:
    void SetMode(int32_t mode, const char* rootPath) override
    {
        g_registerMode = mode;
        g_registerRoot = rootPath != nullptr ? rootPath : "";
    }
    void Uninitialize() override {}
};

class CTestFactory : public TComponentImpl<IOrvikComponentFactory, CTestFactory, kFactoryComponentId, 1, 1> {
public:
    IComponent* CreateComponentByID(ComponentId id, const char* configPath) override
    {
        OutputDebugLine("[TestFactory] CreateComponentByID(%u, %s)\n", id, configPath != nullptr ? configPath : "(null)");
        auto registered = registered_.find(id);
        if (registered != registered_.end()) return registered->second;
        if (id == kFactoryComponentId) return this;
        if (id == IProcessRegister::kComponentId && g_registerMode == IRegisterControl::kAbsent) return nullptr;
        return CreateComponent(static_cast<int32_t>(id), kFactoryComponentId);
    }
    void QueryLogSetting(const char*, ComponentId, uint32_t*, uint32_t*, LogFileInfo**) override {}
    void AddRegisteredInstance(IComponent*) override {}
    void ReleaseRegisteredInstances() override {}
    int32_t TryUnloadModule(Platform::ModuleHandle) override { return 0; }
    void NotifyModuleIdle(Platform::ModuleHandle module) override
    {
        OutputDebugLine("[TestFactory] NotifyModuleIdle(%" PRIxPTR ")\n", Number(module));
    }
    void SetRootPath(const char*) override {}
    int32_t CopyRootPath(char*) override { return 0; }
    void RegisterInstance(ComponentId id, IComponent* instance) override
    {
        OutputDebugLine("[TestFactory] RegisterInstance(%u, %" PRIxPTR ")\n", id, Number(instance));
        registered_[id] = instance;
        instances_.push_back(instance);
    }
    int32_t IsRegisteredInstance(IComponent* instance) override
    {
        OutputDebugLine("[TestFactory] IsRegisteredInstance(%" PRIxPTR ")\n", Number(instance));
        for (IComponent* known : instances_) {
            if (known == instance) return 1;
        }
        return 0;
    }
    void RetryFailedModules(const char*) override {}
    Platform::FileHandle StartNewLogFile() override { return nullptr; }
    void Uninitialize() override {}

private:
    std::map<ComponentId, IComponent*> registered_;
    std::vector<IComponent*> instances_;
};

TComponentRegistrar<CTestFactory> factoryRegistrar;
TComponentRegistrar<CTestService> serviceRegistrar;
TComponentRegistrar<CRegister> registerRegistrar;
TComponentRegistrar<CRegisterControl> controlRegistrar;

}  // namespace
}  // namespace Orvik::Testing
