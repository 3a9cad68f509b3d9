// What the factory's inspection sees of a catalog: its state and the modules
// it holds, copied for a snapshot, and the route of a request, for the trace.

#include <algorithm>
#include <cstring>
#include <iterator>

#include "catalog/component_class_info_list.h"
#include "catalog/trace_gate.h"

namespace Orvik {

namespace {

// Cuts what does not fit: a snapshot shows as much as it can.
template <size_t Size>
void CopyCut(char (&destination)[Size], const char* source)
{
    const size_t length = std::min(std::strlen(source), Size - 1);
    std::memcpy(destination, source, length);
    destination[length] = '\0';
}

OrvikModuleState HeldModule(Platform::ModuleHandle module, const char* path, uint32_t origin)
{
    OrvikModuleState state{};
    if (path != nullptr) {
        CopyCut(state.path, path);
    } else {
        Platform::GetModuleFilePath(module, state.path, sizeof state.path);
    }
    state.module = module;
    state.origin = origin;
    state.references = 1;
    return state;
}

}  // namespace

void CComponentClassInfoList::TraceRoute(CreationRoute route, ComponentId componentId)
{
    switch (route) {
    case CreationRoute::Section:
        Trace::Route(kOrvikRouteSection, componentId, registryPath, ConfigDllPath(*FindConfigRecord(componentId)).c_str());
        break;
    case CreationRoute::ScannedModule: {
        // The module of the list that reported the id, if one did.
        const auto found = dllListRecords.find(componentId);
        Trace::Route(kOrvikRouteScan, componentId, registryPath,
                     found != dllListRecords.end() ? found->second.dllName : "");
        break;
    }
    case CreationRoute::DefaultModule:
        Trace::Route(kOrvikRouteDefault, componentId, registryPath, defaultDllPath);
        break;
    case CreationRoute::Nothing:
        Trace::Route(kOrvikRouteNothing, componentId, registryPath);
        break;
    }
}

void CComponentClassInfoList::Inspect(OrvikCatalogState* state, std::vector<OrvikModuleState>* modules) const
{
    *state = OrvikCatalogState{};
    CopyCut(state->configPath, registryPath);
    CopyCut(state->configFile, configFilePath);
    CopyCut(state->dllPath, dllPath);
    CopyCut(state->defaultDllPath, defaultDllPath);
    CopyCut(state->unscannedDlls, dllList);
    CopyCut(state->failedDlls, failedDlls);
    state->hasDllList = hasDllList != 0 ? 1 : 0;
    state->sectionCount = static_cast<uint32_t>(std::distance(configRecords.begin(), configRecords.end()));
    state->scannedIdCount = static_cast<uint32_t>(dllListRecords.size());
    state->defaultDebugOutputMask = defaultDebugOutputMask;
    state->defaultLogFileMask = defaultLogFileMask;
    state->maxFileCount = static_cast<uint32_t>(maxFileCount);
    state->maxFileSize = maxFileSize;

    const size_t first = modules->size();
    for (const auto& entry : configRecords) {
        if (entry.second.pathResolved == 0) continue;
        const SectionModule& section = sectionModules_[entry.second.pathResolved - 1];
        if (section.module == nullptr) continue;
        modules->push_back(HeldModule(section.module, section.fullPath.c_str(), kOrvikOriginSection));
        modules->back().sectionId = entry.first;
    }
    // A scanned module is listed once, with every load the catalog holds.
    for (const ListedModule& listed : dllListModules) {
        const Platform::ModuleHandle held = listed.reference.get();
        const auto known = std::find_if(modules->begin() + static_cast<std::ptrdiff_t>(first), modules->end(),
                                        [held](const OrvikModuleState& module) {
                                            return module.origin == kOrvikOriginScan && module.module == held;
                                        });
        if (known != modules->end()) {
            known->references += 1 + listed.moreReferences;
            continue;
        }
        OrvikModuleState module = HeldModule(held, nullptr, kOrvikOriginScan);
        module.references += listed.moreReferences;
        for (const auto& entry : dllListRecords) {
            if (entry.second.module != held) continue;
            ++module.scannedIds;
            if (entry.second.createComponent != nullptr) module.entryPointsCached = 1;
        }
        modules->push_back(module);
    }
    if (defaultDllModule != nullptr && defaultDllModule != Platform::InvalidModule()) {
        modules->push_back(HeldModule(defaultDllModule, defaultDllPath, kOrvikOriginDefault));
    }
    for (const Platform::UniqueModule& held : preloadedModules) {
        modules->push_back(HeldModule(held.get(), nullptr, kOrvikOriginPreload));
    }
    state->moduleCount = static_cast<uint32_t>(modules->size() - first);
}

}  // namespace Orvik
