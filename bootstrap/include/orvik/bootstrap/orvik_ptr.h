#pragma once
/// \file
/// TOrvikPtr<Interface, n>: how code obtains a component from the factory.

// A program is no component module: it carries no factory bootstrap for
// TOrvikPtr to link against. Orvik::host marks what it builds.
#if defined(ORVIK_HOST_PROGRAM)
#error "TOrvikPtr is for code inside component modules; a host program obtains components through Orvik::Host::AppHost (orvik/host/app_host.h) and its app module"
#endif

#include "orvik/bootstrap/factory_bootstrap.h"
#include "orvik/module/module_runtime.h"
#include "orvik/module/registry_path.h"
#include "orvik/platform/branch_hints.h"

namespace Orvik {

/// How code in a component module obtains a component from the factory;
/// Interface gives the id to ask for as Interface::kComponentId.
/// \code
///   TOrvikPtr<IClock, 1> clock;   // asks the factory for IClock::kComponentId
///   if (clock) clock->Now();       // released when clock goes out of scope
/// \endcode
/// n = 1 releases the component at destruction (unless it is a shared
/// instance of the factory); n = 0 leaves it alive, marked for the module's
/// OrvikDllFreeMap. The first one in a module obtains the module's factory
/// (LoadFactory). A host program uses Host::AppHost instead.
template <class Interface, int N>
class TOrvikPtr {
    static_assert(N == 0 || N == 1, "TOrvikPtr takes n = 0 or 1");

public:
    /// Asks with the module's registry path, from the factory module given
    /// to the module or named by its profile.
    TOrvikPtr() { Acquire(RegistryPath(), FactoryModuleSource::GivenHandle); }

    /// Asks with this configuration path (null: the default one), finding
    /// the factory module as source says.
    TOrvikPtr(const char* configPath, FactoryModuleSource source) { Acquire(configPath, source); }

    /// With n = 1 releases the component (Release(0)) unless the factory
    /// lists it as a shared instance.
    virtual ~TOrvikPtr()
    {
        if (N == 1 && component_ != nullptr) {
            IOrvikComponentFactory* factory = ModuleFactory();
            if (ORVIK_UNLIKELY(factory == nullptr) || factory->IsRegisteredInstance(component_) == 0) component_->Release(0);
        }
        component_ = nullptr;
    }

    TOrvikPtr(const TOrvikPtr&) = delete;
    TOrvikPtr& operator=(const TOrvikPtr&) = delete;

    /// A component was obtained.
    explicit operator bool() const { return component_ != nullptr; }
    /// The component, or null.
    Interface* get() const { return component_; }
    /// The component; only when one was obtained.
    Interface* operator->() const { return component_; }

private:
    void Acquire(const char* configPath, FactoryModuleSource source)
    {
        IOrvikComponentFactory* factory = ModuleFactory();
        if (factory == nullptr) {
            LoadFactory(configPath, source);
            factory = ModuleFactory();
            if (factory == nullptr) return;
        }
        component_ = static_cast<Interface*>(factory->CreateComponentByID(Interface::kComponentId, configPath));
        if (component_ != nullptr) component_->SetAutoRelease(N == 0 ? 1 : 0);
    }

    Interface* component_ = nullptr;
};

}  // namespace Orvik
