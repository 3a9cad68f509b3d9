#pragma once
// CFactoryInspection: the factory's inspection (component 0), a part of the
// factory object that the registry hands out. It copies the factory's state
// through COrvikComponentFactory::TakeSnapshot and installs the trace sink.

#include <vector>

#include "orvik/module/factory_inspection.h"

namespace Orvik {

class COrvikComponentFactory;

// The factory's state as copied under its state lock.
struct FactorySnapshot {
    OrvikFactoryState factory{};
    std::vector<OrvikCatalogState> catalogs;
    // Every catalog's modules, in the catalogs' order (moduleCount each).
    std::vector<OrvikModuleState> modules;
    std::vector<OrvikPendingModule> pending;
    std::vector<ComponentId> registered;  // ascending
};

class CFactoryInspection : public IOrvikInspection {
public:
    explicit CFactoryInspection(COrvikComponentFactory& factory) : factory_(factory) {}
    // The sink goes with the factory: no call reaches it afterwards.
    ~CFactoryInspection();
    CFactoryInspection(const CFactoryInspection&) = delete;
    CFactoryInspection& operator=(const CFactoryInspection&) = delete;

    ComponentId GetComponentID() override { return kInspectionComponentId; }
    int32_t GetVersion() override { return 1; }
    // It lives as long as the factory, whoever releases it.
    void Release(int32_t) override {}
    uint32_t GetAutoRelease() override { return 0; }
    void SetAutoRelease(uint32_t) override {}
    void Reserved1() override {}
    void Reserved2() override {}
    void Reserved3() override {}

    int32_t VisitSnapshot(IOrvikSnapshotVisitor* visitor) override;
    int32_t SetTraceSink(IOrvikTraceSink* sink) override;

private:
    COrvikComponentFactory& factory_;
};

}  // namespace Orvik
