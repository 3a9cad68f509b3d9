// The factory's inspection: the snapshot, copied under the state lock and
// handed out without it, and the trace sink.

#include <algorithm>

#include "catalog/trace_gate.h"
#include "factory/component_factory.h"
#include "factory/factory_inspection.h"

namespace Orvik {

bool COrvikComponentFactory::TakeSnapshot(FactorySnapshot* snapshot)
try {
    const StateGuard guard(stateLock_);
    OrvikFactoryState& state = snapshot->factory;
    CopyString(state.rootPath, sizeof state.rootPath, rootPath_);
    logFiles_.DescribeFile(state.logFile, sizeof state.logFile, &state.logFileOpen);
    state.alive = IsFactoryAlive() ? 1 : 0;
    ForEachCatalog([snapshot](CComponentClassInfoList& catalog) {
        snapshot->catalogs.emplace_back();
        catalog.Inspect(&snapshot->catalogs.back(), &snapshot->modules);
    });
    for (Platform::ModuleHandle module : pendingModules_) {
        OrvikPendingModule pending{};
        pending.module = module;
        Platform::GetModuleFilePath(module, pending.path, sizeof pending.path);
        snapshot->pending.push_back(pending);
    }
    state.timerRunning = timerId_ != 0 && Platform::ThreadTimerIsRunning(timerId_) ? 1 : 0;
    registeredInstances_.ForEach([snapshot](ComponentId id, IComponent*) { snapshot->registered.push_back(id); });
    std::sort(snapshot->registered.begin(), snapshot->registered.end());
    state.catalogCount = static_cast<uint32_t>(snapshot->catalogs.size());
    state.pendingCount = static_cast<uint32_t>(snapshot->pending.size());
    state.registeredCount = static_cast<uint32_t>(snapshot->registered.size());
    return true;
} catch (...) {
    return false;
}

CFactoryInspection::~CFactoryInspection() { Trace::Install(nullptr); }

int32_t CFactoryInspection::VisitSnapshot(IOrvikSnapshotVisitor* visitor)
try {
    if (visitor == nullptr) return 0;
    FactorySnapshot snapshot;
    if (!factory_.TakeSnapshot(&snapshot)) return 0;
    // No lock from here on: the visitor may call the factory.
    visitor->OnFactory(&snapshot.factory);
    size_t module = 0;
    for (const OrvikCatalogState& catalog : snapshot.catalogs) {
        visitor->OnCatalog(&catalog);
        for (uint32_t i = 0; i < catalog.moduleCount; ++i) visitor->OnModule(&snapshot.modules[module++]);
    }
    for (const OrvikPendingModule& pending : snapshot.pending) visitor->OnPendingModule(&pending);
    for (ComponentId id : snapshot.registered) visitor->OnRegisteredInstance(id);
    return 1;
} catch (...) {
    return 0;
}

int32_t CFactoryInspection::SetTraceSink(IOrvikTraceSink* sink) { return Trace::Install(sink) ? 1 : 0; }

}  // namespace Orvik
