#pragma once
// How a module implements components: TComponentImpl gives a concrete class
// the IComponent operations, TOrvik owns its subordinate objects, and one
// TComponentRegistrar per class makes it creatable by id.
//
//   class CClock : public TComponentImpl<IClock, CClock, 1200, 0, 0> { ... };
//   static TComponentRegistrar<CClock> clockRegistrar;

#include <cstdint>
#include <list>
#include <map>
#include <new>

#include "bootstrap/factory_bootstrap.h"
#include "module/component.h"
#include "module/module_runtime.h"
#include "platform/debug_output.h"
#include "util/bootstrap_helpers.h"

namespace Orvik {

// An object a component owns; deleted with it.
class IOwnedObject {
public:
    virtual ~IOwnedObject() = default;
};

template <class Class>
class TOrvik {
public:
    virtual ~TOrvik()
    {
        for (IOwnedObject* object : ownedObjectList_) delete object;
        DeleteOwnedObjectMap();
    }

protected:
    void DeleteOwnedObjectMap()
    {
        for (auto& entry : ownedObjectMap_) delete entry.second;
        ownedObjectMap_.clear();
    }

    std::map<uint32_t, IOwnedObject*> ownedObjectMap_;
    std::list<IOwnedObject*> ownedObjectList_;
};

// Singleton: 1 gives one object per module, handed out by every creation,
// 0 a new object each time. NeedsForce: 1 makes Release(0) do nothing, so
// only a forced Release ends the component (the factory's choice); 0 lets
// any Release end it. Every component runs Uninitialize once, at the
// Release that finalises it.
template <class Interface, class Class, ComponentId Id, int Singleton, int NeedsForce>
class TComponentImpl : public Interface, public TOrvik<Class> {
public:
    static constexpr ComponentId kComponentId = Id;

    ComponentId GetComponentID() override { return Id; }
    int32_t GetVersion() override { return 1; }

    void Release(int32_t force) override
    {
        if (!IsDllSafe()) return;
        const bool allowed = !(needsForce_ != 0 && force == 0);
        if (allowed && finalisePending_ != 0) {
            Uninitialize();
            this->DeleteOwnedObjectMap();
            finalisePending_ = 0;
        }
        if (!allowed || hold_ != 0) return;
        const int32_t requestUnload = GetComponentID() != kFactoryComponentId ? 1 : 0;
        const void* address = static_cast<IComponent*>(this);
        TOrvik<Class>* self = this;
        delete self;
        RemoveLiveComponent(address, requestUnload);
    }

    uint32_t GetAutoRelease() override { return autoRelease_; }
    void SetAutoRelease(uint32_t value) override { autoRelease_ = value; }
    void Reserved1() override {}
    void Reserved2() override {}
    void Reserved3() override {}

    // Run once, by the Release that finalises the component.
    virtual void Uninitialize() = 0;

    // path, or the module's registry path when path is null or empty. A
    // buffer too small for it is left empty.
    virtual void GetConfigPath(const char* path, char* buffer, int32_t size)
    {
        if (buffer == nullptr || size <= 0) return;
        if (path == nullptr || *path == '\0') {
            CopyRegistryPath(buffer, size);
            return;
        }
        buffer[0] = '\0';
        CopyString(buffer, size, path);
    }

    // The creator the module's table holds for this class.
    static IComponent* CreateInstance()
    {
        if (Singleton == 0) return new (std::nothrow) Class;
        if (instance_ == nullptr) {
            Class* object = new (std::nothrow) Class;
            instance_ = object;
            if (object != nullptr && object->GetComponentID() != kFactoryComponentId) {
                RegisterSingleton(Id, object);
            }
        }
        return instance_;
    }

protected:
    TComponentImpl() = default;
    ~TComponentImpl() override
    {
        // Only Release may end a component, after finalising it.
        if (finalisePending_ != 0 || hold_ != 0) Platform::BreakIntoDebugger();
        // A destroyed singleton is never handed out; the next creation makes
        // a new one.
        if (instance_ == this) instance_ = nullptr;
    }

    int32_t finalisePending_ = 1;
    // While not 0, an allowed Release finalises the component but keeps it.
    int32_t hold_ = 0;
    int32_t needsForce_ = NeedsForce;
    uint32_t autoRelease_ = 0;

private:
    static TComponentImpl* instance_;
};

template <class Interface, class Class, ComponentId Id, int Singleton, int NeedsForce>
TComponentImpl<Interface, Class, Id, Singleton, NeedsForce>*
    TComponentImpl<Interface, Class, Id, Singleton, NeedsForce>::instance_ = nullptr;

// One static object per component class registers its creator while the
// module starts.
template <class Class>
class TComponentRegistrar {
public:
    TComponentRegistrar() { RegisterCreator(Class::kComponentId, &Class::CreateInstance); }
};

}  // namespace Orvik
