#pragma once
/// \file
/// How a module implements components: TComponentImpl gives a concrete class
/// the IComponent operations, TOrvik owns its subordinate objects, and one
/// TComponentRegistrar per class makes it creatable by id.
/// \code
///   class CClock : public TComponentImpl<IClock, CClock, 1200, 0, 0> { ... };
///   static TComponentRegistrar<CClock> clockRegistrar;
/// \endcode

#include <atomic>
#include <cstdint>
#include <exception>
#include <list>
#include <map>
#include <new>

#include "orvik/module/component.h"
#include "orvik/module/factory_notices.h"
#include "orvik/module/module_runtime.h"
#include "orvik/platform/debug_output.h"
#include "orvik/platform/lock.h"
#include "orvik/platform/thread_annotations.h"
#include "orvik/util/bootstrap_helpers.h"

namespace Orvik {

/// An object a component owns; deleted with it.
class IOwnedObject {
public:
    /// Deleted by the component that owns it.
    virtual ~IOwnedObject() = default;
};

/// The second base of every TComponentImpl: the objects a component owns,
/// deleted with it.
template <class Class>
class TOrvik {
public:
    /// Deletes the owned objects, the list's and the map's.
    virtual ~TOrvik()
    {
        for (IOwnedObject* object : ownedObjectList_) delete object;
        DeleteOwnedObjectMap();
    }

protected:
    /// Deletes the objects of the map and empties it; the Release that
    /// finalises the component does so after Uninitialize.
    void DeleteOwnedObjectMap()
    {
        for (auto& entry : ownedObjectMap_) delete entry.second;
        ownedObjectMap_.clear();
    }

    /// Owned objects by a key of the component's choice.
    std::map<uint32_t, IOwnedObject*> ownedObjectMap_;
    /// Owned objects without a key.
    std::list<IOwnedObject*> ownedObjectList_;
};

/// The IComponent operations of a concrete class: Interface is the
/// interface it implements, Class the class itself, Id its component id.
/// Class supplies Uninitialize and Interface's own operations.
///
/// Singleton: 1 gives one object per module, handed out by every creation,
/// 0 a new object each time. NeedsForce: 1 makes Release(0) do nothing, so
/// only a forced Release ends the component (the factory's choice); 0 lets
/// any Release end it. Every component runs Uninitialize once, at the
/// Release that finalises it.
template <class Interface, class Class, ComponentId Id, int Singleton, int NeedsForce>
class TComponentImpl : public Interface, public TOrvik<Class> {
public:
    /// The class's id, as TComponentRegistrar registers it.
    static constexpr ComponentId kComponentId = Id;

    /// Returns Id.
    ComponentId GetComponentID() override { return Id; }
    /// Returns 1.
    int32_t GetVersion() override { return 1; }

    /// Ends the component as the class's flags allow. An allowed Release
    /// runs Uninitialize and empties the owned map the first time, then
    /// destroys the component unless it is held; the module's last live
    /// component (other than the factory) going tells the factory that the
    /// module is idle. Does nothing while the module is not dll-safe.
    ///
    /// Nothing that Uninitialize or the idle notice throws leaves Release: a
    /// component whose finalisation throws stays as it was, live and listed,
    /// and the leak report names it.
    void Release(int32_t force) override
    {
        // The module stays loaded until this returns: the component is live
        // until its entry goes, which is the last of the work here, and a
        // module that falls idle then is held until its notice is sent.
        try {
            ReleaseInside(force);
        } catch (...) {
        }
    }

private:
    void ReleaseInside(int32_t force)
    {
        if (!IsDllSafe()) return;
        const bool allowed = !(needsForce_ != 0 && force == 0);
        if (allowed && finalisePending_ != 0) {
            Uninitialize();
            this->DeleteOwnedObjectMap();
            finalisePending_ = 0;
        }
        if (!allowed || hold_ != 0) return;
        const int32_t requestUnload = Id != kFactoryComponentId ? 1 : 0;
        const void* address = static_cast<IComponent*>(this);
        // CreateInstance made exactly a Class with the global operator new;
        // the memory goes as the live map forgets the address.
        Class* object = static_cast<Class*>(this);
        object->~Class();
        RemoveAndFreeComponent(address, object, alignof(Class), requestUnload);
    }

public:
    /// The auto-release mark.
    uint32_t GetAutoRelease() override { return autoRelease_.load(std::memory_order_relaxed); }
    /// Sets the auto-release mark.
    void SetAutoRelease(uint32_t value) override
    {
        // A shared instance is marked alike by every smart pointer of every
        // thread: the mark is only written when it changes, so they do not
        // pass its cache line back and forth.
        if (autoRelease_.load(std::memory_order_relaxed) != value) autoRelease_.store(value, std::memory_order_relaxed);
    }
    /// Does nothing.
    void Reserved1() override {}
    /// Does nothing.
    void Reserved2() override {}
    /// Does nothing.
    void Reserved3() override {}

    /// Run once, by the Release that finalises the component.
    virtual void Uninitialize() = 0;

    /// path, or the module's registry path when path is null or empty. A
    /// buffer too small for it is left empty.
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

    /// The creator the module's table holds for this class.
    static IComponent* CreateInstance()
    {
        if (Singleton == 0) return new (std::nothrow) Class;
        // One creation at a time; the object is handed out only once it is
        // registered, so nobody can release it as an ordinary component.
        Platform::LockGuard creating(SingletonLock());
        if (instance_ == nullptr) {
            Class* object = new (std::nothrow) Class;
            if (object != nullptr && object->GetComponentID() != kFactoryComponentId) {
                RegisterSingleton(Id, object);
            }
            instance_ = object;
        }
        return instance_;
    }

protected:
    /// Only CreateInstance makes components.
    TComponentImpl() = default;
    /// Only Release ends a component; destroying one otherwise while it is
    /// pending finalisation or held stops in the debugger.
    ~TComponentImpl() override
    {
        // Only Release may end a component, after finalising it. An object
        // whose constructor threw is unwound through here: it never became a
        // component, which is no programming error of the framework's kind.
        if ((finalisePending_ != 0 || hold_ != 0) && std::uncaught_exceptions() == 0) {
            Platform::BreakIntoDebugger();
        }
        // A destroyed singleton is never handed out; the next creation makes
        // a new one.
        if (Singleton != 0) {
            Platform::LockGuard creating(SingletonLock());
            if (instance_ == this) instance_ = nullptr;
        }
    }

    // needsForce_ sits between the two marks the destructor checks: side by
    // side, the compiler reads both with one wide load, which cannot take
    // finalisePending_ from the narrow store Release has just made and waits
    // until that store leaves the core.
    /// 1 until the component is finalised (Uninitialize has run).
    int32_t finalisePending_ = 1;
    /// NeedsForce: while 1, Release(0) does nothing.
    int32_t needsForce_ = NeedsForce;
    /// While not 0, an allowed Release finalises the component but keeps it.
    int32_t hold_ = 0;
    /// A shared instance is marked by every smart pointer that obtains it,
    /// from any thread.
    std::atomic<uint32_t> autoRelease_{0};

private:
    // The platform's lock rather than a standard mutex, whose failure path
    // would bring the run-time's error classes into every module.
    static Platform::CriticalSection& SingletonLock()
    {
        static Platform::OwnedLock lock;
        return lock.section();
    }

    static TComponentImpl* instance_ ORVIK_GUARDED_BY(SingletonLock());
};

template <class Interface, class Class, ComponentId Id, int Singleton, int NeedsForce>
TComponentImpl<Interface, Class, Id, Singleton, NeedsForce>*
    TComponentImpl<Interface, Class, Id, Singleton, NeedsForce>::instance_ = nullptr;

/// One static object per component class registers its creator while the
/// module starts.
template <class Class>
class TComponentRegistrar {
public:
    /// Registers Class::CreateInstance for Class::kComponentId.
    TComponentRegistrar() { RegisterCreator(Class::kComponentId, &Class::CreateInstance); }
};

}  // namespace Orvik
