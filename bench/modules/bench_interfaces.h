#pragma once
// What the benchmark programs see of the modules they load: the probe every
// provider module makes, and the client module whose code asks for
// components as any module does.

#include <cstdint>

#include "orvik/module/component.h"
#include "orvik/module/component_factory.h"
#include "orvik/module/module_exports.h"

namespace Orvik::Bench {

// Provided by the module that its own section names.
constexpr ComponentId kSectionId = 7001;
// Provided by a module of the "dlls" list.
constexpr ComponentId kScannedId = 7002;
// A singleton: its creation registers it as the shared instance of its id.
constexpr ComponentId kSharedId = 7003;
// A plain component, registered by hand under further ids to fill the registry.
constexpr ComponentId kFillerId = 7004;
constexpr ComponentId kFillerRegistryBase = 7200;
// Provided by modules that nothing keeps in use between requests, so each
// request reloads them: one scanned, one named by its section.
constexpr ComponentId kIdleScannedId = 7005;
constexpr ComponentId kIdleSectionId = 7006;
// Made by the client module for itself through the framework.
constexpr ComponentId kClientLocalId = 7901;
// The cold-start modules m0 ... m49 provide kColdIdsPerModule ids each from
// kColdIdBase on; the first request asks for one of the last module.
constexpr ComponentId kColdIdBase = 8000;
constexpr int kColdModules = 50;
constexpr int kColdIdsPerModule = 4;
constexpr ComponentId kColdRequestId = kColdIdBase + kColdModules * kColdIdsPerModule - 1;

// Every component the benchmarks make. Work answers x plus the tag of the
// module that made it, so a caller knows the call reached the right module.
class IBenchProbe : public IComponent {
public:
    virtual int32_t Work(int32_t x) = 0;

protected:
    ~IBenchProbe() = default;
};

template <ComponentId Id>
class TBenchProbe : public IBenchProbe {
public:
    static constexpr ComponentId kComponentId = Id;

protected:
    ~TBenchProbe() = default;
};

enum BenchTag : int32_t {
    kSectionTag = 100,
    kScannedTag = 200,
    kSharedTag = 300,
    kFillerTag = 400,
    kClientTag = 500,
    kIdleScannedTag = 700,
    kIdleSectionTag = 800,
    kColdTagBase = 1000,
};

// What the client module times, each answering x plus the tag of the module
// that answered, or -1 when it got no component.
enum class ClientOperation : int32_t {
    // The in-module floor: create, call and release an object of the
    // client's own module with the least bookkeeping
    // (bench/modules/plain_probe.h), no framework code on the way.
    kInModuleFloor,
    // The cross-module floor: the same through the plain module's creation
    // export (a function pointer to PlainCreateFunction), looked up once.
    kCrossModuleFloor,
    // The floors of requests made on several threads at once. The shared-map
    // floor looks an id up in a map of held objects that nobody changes and
    // calls the one found; the locked floor is the in-module floor's work
    // (new, map insert, virtual call, erase, delete) with one global
    // std::mutex held around all of it.
    kSharedMapFloor,
    kLockedFloor,
    // The framework's own module-side costs, rows of their own: a component
    // of the client's module through its creation path, and one of another
    // module through that module's CreateComponent export, looked up once
    // beforehand with SetCrossModuleCreator.
    kOrvikInModule,
    kOrvikCrossModule,
    // A call of a component of that module which the client holds (made
    // with SetCrossModuleCreator): no request, nothing made or released.
    kHeldCall,
    // Requests through TOrvikPtr<I, 1>, as module code makes them.
    kSectionRequest,
    kScannedRequest,
    kSharedRequest,
    // Requests for the idle modules' components: each reloads its module.
    kIdleScannedRequest,
    kIdleSectionRequest,
    // The same requests without TOrvikPtr: CreateComponentByID with the
    // module's configuration, the call, and Release(0) for what was made.
    kSectionDirect,
    kScannedDirect,
    kSharedDirect,
};

// The client module's component.
class IBenchClient : public IComponent {
public:
    static constexpr ComponentId kComponentId = 7900;

    // Makes count of the operation with x = first, first + 1, ... in a loop
    // of the client module's own, as module code makes one after another:
    // nothing calls into the module between two of them. Answers how many
    // answered wrong.
    virtual int64_t RunBatch(ClientOperation operation, int32_t first, int32_t count) = 0;

    // The plain module's creation export, for the cross-module floor.
    virtual void SetPlainCreator(void (*create)()) = 0;
    // Another module's CreateComponent export and the id it makes, for the
    // framework's cross-module component and the held call.
    virtual void SetCrossModuleCreator(Exports::CreateComponent::Function create, ComponentId id) = 0;
    // The three lookups a request for a section module makes, through the
    // platform layer: the number of exports found.
    virtual int32_t ExportLookups(Platform::ModuleHandle module) = 0;
    // One request through TOrvikPtr<I, 1> for the cold start's id: x plus
    // the answering module's tag, or -1.
    virtual int32_t ColdRequest(int32_t x) = 0;

    // The client module's factory, obtained first if need be.
    virtual IOrvikComponentFactory* Factory() = 0;

protected:
    ~IBenchClient() = default;
};

}  // namespace Orvik::Bench
