#pragma once
// What the factory tests see of their client module and provider modules.

#include <cstdint>
#include <utility>

#include "orvik/module/component.h"
#include "orvik/module/component_factory.h"
#include "orvik/module/log_file_info.h"
#include "orvik/platform/platform_api.h"

namespace Orvik::Testing {

// Which provider module made a component.
enum ProviderTag : int32_t { kAlphaTag = 1, kBetaTag, kGammaTag, kSharedTag, kPreloadTag, kStdcallTag };

// Provided by fact_alpha and fact_beta: the configuration decides.
constexpr ComponentId kCommonId = 8201;
constexpr ComponentId kAlphaOnlyId = 8202;
constexpr ComponentId kBetaOnlyId = 8203;
// fact_gamma, meant to be the default module.
constexpr ComponentId kGammaId = 8204;
// fact_shared: a singleton that registers itself with the factory.
constexpr ComponentId kSharedId = 8205;
// fact_preload, meant to be preloaded.
constexpr ComponentId kPreloadId = 8206;
// fact_throwing, whose component's constructor throws, and fact_foreign,
// whose CreateComponent export throws.
constexpr ComponentId kThrowingId = 8207;
constexpr ComponentId kForeignId = 8208;
// fact_stdcall, made by hand with stdcall as its exports' default calling
// convention on 32-bit Windows.
constexpr ComponentId kStdcallId = 8209;
// fact_contract and fact_other_contract, one source built against the
// framework's contract and against another; each says when its code runs.
constexpr ComponentId kContractId = 8210;
constexpr char kContractProbeLine[] = "[contract probe] static initialisation ran\n";

using ProbeIds = std::integer_sequence<ComponentId, kCommonId, kAlphaOnlyId, kBetaOnlyId, kGammaId, kSharedId,
                                       kPreloadId, kStdcallId>;

// A component's answer when it asked the factory how to log.
struct LogQuery {
    uint32_t debugOutputMask;
    uint32_t logFileMask;
    LogFileInfo* info;
};

// Every component of the provider modules.
class IProviderProbe : public IComponent {
public:
    virtual int32_t ModuleTag() = 0;
    // The configuration name the component's module was given.
    virtual void CopyRegistryPath(char* buffer, int32_t size) = 0;
    // Asks the factory for the component's log setting, with the module's
    // configuration name and the component's id.
    virtual void QueryLog(LogQuery* query) = 0;

protected:
    ~IProviderProbe() = default;
};

// The interface of one id: TOrvikPtr takes the id from it.
template <ComponentId Id>
class TProbe : public IProviderProbe {
public:
    static constexpr ComponentId kComponentId = Id;

protected:
    ~TProbe() = default;
};

// What the client learned of a component while it held it.
struct ProbeReport {
    IProviderProbe* component;
    int32_t tag;
    char registryPath[Platform::kMaxPath];
};

// The client module's component: code that obtains components as any
// module does, through TOrvikPtr and its module-wide factory pointer.
class IFactoryClient : public IComponent {
public:
    static constexpr ComponentId kComponentId = 8100;
    // Holds id through a TOrvikPtr<TProbe<id>, 1> for the call; 1 and the
    // report filled when it held a component.
    virtual int32_t Use(ComponentId id, ProbeReport* report) = 0;
    // Through a TOrvikPtr<TProbe<id>, 0>: the component stays alive.
    virtual IProviderProbe* Keep(ComponentId id) = 0;
    // Asks for the factory through a TOrvikPtr (which makes the catalog of
    // the module's configuration) and returns the module's factory pointer.
    virtual IOrvikComponentFactory* Connect() = 0;

protected:
    ~IFactoryClient() = default;
};

}  // namespace Orvik::Testing
