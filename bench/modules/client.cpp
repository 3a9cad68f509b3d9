// The benchmarks' client module: its code obtains components as any module's
// code does, through TOrvikPtr with the module's own registry path and
// factory pointer.

#include <mutex>
#include <unordered_map>
#include <vector>

#include "bench/modules/bench_interfaces.h"
#include "bench/modules/plain_probe.h"
#include "orvik/bootstrap/orvik_ptr.h"
#include "orvik/module/component_impl.h"
#include "orvik/platform/module_loader.h"

namespace Orvik::Bench {
namespace {

constexpr int32_t kNoComponent = -1;

// A component of the client's own module, made through the framework.
class CLocalProbe : public TComponentImpl<TBenchProbe<kClientLocalId>, CLocalProbe, kClientLocalId, 0, 0> {
public:
    int32_t Work(int32_t x) override { return x + kClientTag; }
    void Uninitialize() override {}
};

// The shared-map floor's map: the object asked for answers with the
// client's tag, the others with the filler's; ten entries, as many as the
// instances registered in the quiet world.
constexpr size_t kHeldFillers = 9;
using HeldMap = std::unordered_map<ComponentId, PlainProbe*>;

HeldMap MapOf(PlainProbe* asked, std::vector<PlainLiveProbe>& others)
{
    HeldMap map{{kSharedId, asked}};
    for (size_t i = 0; i < others.size(); ++i) map.emplace(kFillerRegistryBase + static_cast<ComponentId>(i), &others[i]);
    return map;
}

template <ComponentId Id>
int32_t RequestThroughPtr(int32_t x)
{
    TOrvikPtr<TBenchProbe<Id>, 1> probe;
    return probe ? probe->Work(x) : kNoComponent;
}

template <ComponentId Id, bool ReleaseAfter>
int32_t RequestDirect(int32_t x)
{
    IOrvikComponentFactory* factory = ModuleFactory();
    if (factory == nullptr) return kNoComponent;
    char registryPath[kRegistryPathSize];
    CopyRegistryPath(registryPath, sizeof registryPath);
    auto* probe = static_cast<TBenchProbe<Id>*>(factory->CreateComponentByID(Id, registryPath));
    if (probe == nullptr) return kNoComponent;
    const int32_t result = probe->Work(x);
    if (ReleaseAfter) probe->Release(0);
    return result;
}

class CBenchClient final : public TComponentImpl<IBenchClient, CBenchClient, IBenchClient::kComponentId, 0, 0> {
public:
    int64_t RunBatch(ClientOperation operation, int32_t first, int32_t count) override
    {
        switch (operation) {
        case ClientOperation::kInModuleFloor: return Batch<&CBenchClient::InModuleFloor, kClientTag>(first, count);
        case ClientOperation::kCrossModuleFloor: return Batch<&CBenchClient::CrossModuleFloor, kPlainTag>(first, count);
        case ClientOperation::kSharedMapFloor: return Batch<&CBenchClient::SharedMapFloor, kClientTag>(first, count);
        case ClientOperation::kLockedFloor: return Batch<&CBenchClient::LockedFloor, kClientTag>(first, count);
        case ClientOperation::kOrvikInModule: return Batch<&CBenchClient::OrvikInModule, kClientTag>(first, count);
        case ClientOperation::kOrvikCrossModule: return Batch<&CBenchClient::OrvikCrossModule, kScannedTag>(first, count);
        case ClientOperation::kHeldCall: return Batch<&CBenchClient::HeldCall, kScannedTag>(first, count);
        case ClientOperation::kSectionRequest: return Batch<RequestThroughPtr<kSectionId>, kSectionTag>(first, count);
        case ClientOperation::kScannedRequest: return Batch<RequestThroughPtr<kScannedId>, kScannedTag>(first, count);
        case ClientOperation::kSharedRequest: return Batch<RequestThroughPtr<kSharedId>, kSharedTag>(first, count);
        case ClientOperation::kIdleScannedRequest:
            return Batch<RequestThroughPtr<kIdleScannedId>, kIdleScannedTag>(first, count);
        case ClientOperation::kIdleSectionRequest:
            return Batch<RequestThroughPtr<kIdleSectionId>, kIdleSectionTag>(first, count);
        case ClientOperation::kSectionDirect: return Batch<RequestDirect<kSectionId, true>, kSectionTag>(first, count);
        case ClientOperation::kScannedDirect: return Batch<RequestDirect<kScannedId, true>, kScannedTag>(first, count);
        // A shared instance is not the caller's to release.
        case ClientOperation::kSharedDirect: return Batch<RequestDirect<kSharedId, false>, kSharedTag>(first, count);
        }
        return count;
    }
    void SetPlainCreator(void (*create)()) override { plainCreate_ = reinterpret_cast<PlainCreateFunction>(create); }
    void SetCrossModuleCreator(Exports::CreateComponent::Function create, ComponentId id) override
    {
        crossCreate_ = create;
        crossId_ = id;
        if (held_ != nullptr) held_->Release(0);
        held_ = static_cast<IBenchProbe*>(create(static_cast<int32_t>(id), kFactoryComponentId));
    }
    int32_t ExportLookups(Platform::ModuleHandle module) override
    {
        int32_t found = 0;
        for (const char* name : {"SetDLLRegistry", "SetFactoryHandle", "CreateComponent"}) {
            if (Platform::FindExport(module, name) != nullptr) ++found;
        }
        return found;
    }
    int32_t ColdRequest(int32_t x) override { return RequestThroughPtr<kColdRequestId>(x); }

    IOrvikComponentFactory* Factory() override
    {
        if (ModuleFactory() == nullptr) {
            TOrvikPtr<IOrvikComponentFactory, 0> obtain;
        }
        return ModuleFactory();
    }
    void Uninitialize() override
    {
        if (held_ != nullptr) held_->Release(0);
        held_ = nullptr;
    }

private:
    // The loop of a batch, one operation inlined into it: the count of
    // answers other than x plus the tag.
    template <int32_t (CBenchClient::*Operation)(int32_t), int32_t Tag>
    int64_t Batch(int32_t first, int32_t count)
    {
        int64_t wrong = 0;
        for (int32_t x = first; x < first + count; ++x) wrong += (this->*Operation)(x) != x + Tag;
        return wrong;
    }
    template <int32_t (*Operation)(int32_t), int32_t Tag>
    static int64_t Batch(int32_t first, int32_t count)
    {
        int64_t wrong = 0;
        for (int32_t x = first; x < first + count; ++x) wrong += Operation(x) != x + Tag;
        return wrong;
    }

    int32_t InModuleFloor(int32_t x)
    {
        PlainProbe* probe = PlainLiveProbe::Create(static_cast<int32_t>(kClientLocalId), kClientTag);
        const int32_t result = probe->Work(x);
        probe->Release();
        return result;
    }
    int32_t CrossModuleFloor(int32_t x)
    {
        if (plainCreate_ == nullptr) return kNoComponent;
        PlainProbe* probe = plainCreate_(static_cast<int32_t>(kScannedId));
        if (probe == nullptr) return kNoComponent;
        const int32_t result = probe->Work(x);
        probe->Release();
        return result;
    }
    int32_t SharedMapFloor(int32_t x)
    {
        const auto found = heldMap_.find(kSharedId);
        return found != heldMap_.end() ? found->second->Work(x) : kNoComponent;
    }
    int32_t LockedFloor(int32_t x)
    {
        std::lock_guard<std::mutex> guard(floorMutex_);
        return InModuleFloor(x);
    }
    int32_t OrvikInModule(int32_t x)
    {
        auto* probe = static_cast<IBenchProbe*>(CreateComponent(static_cast<int32_t>(kClientLocalId), 0));
        if (probe == nullptr) return kNoComponent;
        const int32_t result = probe->Work(x);
        probe->Release(0);
        return result;
    }
    int32_t OrvikCrossModule(int32_t x)
    {
        if (crossCreate_ == nullptr) return kNoComponent;
        auto* probe =
            static_cast<IBenchProbe*>(crossCreate_(static_cast<int32_t>(crossId_), kFactoryComponentId));
        if (probe == nullptr) return kNoComponent;
        const int32_t result = probe->Work(x);
        probe->Release(0);
        return result;
    }
    int32_t HeldCall(int32_t x) { return held_ != nullptr ? held_->Work(x) : kNoComponent; }

    PlainCreateFunction plainCreate_ = nullptr;
    Exports::CreateComponent::Function crossCreate_ = nullptr;
    ComponentId crossId_ = 0;
    IBenchProbe* held_ = nullptr;
    PlainLiveProbe heldAsked_{kClientTag};
    std::vector<PlainLiveProbe> heldOthers_ = std::vector<PlainLiveProbe>(kHeldFillers, PlainLiveProbe(kFillerTag));
    const HeldMap heldMap_ = MapOf(&heldAsked_, heldOthers_);
    std::mutex floorMutex_;
};

TComponentRegistrar<CBenchClient> clientRegistrar;
TComponentRegistrar<CLocalProbe> localProbeRegistrar;

}  // namespace
}  // namespace Orvik::Bench
