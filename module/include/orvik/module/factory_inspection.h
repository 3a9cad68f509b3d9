#pragma once
/// \file
/// What the factory holds and what it does: a snapshot of its catalogs,
/// modules, pending unloads and shared instances, and a trace sink told of
/// every load, unload and request route. Both cross module boundaries as
/// plain records of fixed size, read during one call.

#include <cstdint>

#include "orvik/module/component.h"
#include "orvik/platform/module_loader.h"

namespace Orvik {

/// The factory's inspection (IOrvikInspection). No configuration file can
/// name id 0 (a section "[0]" is no section), and the factory answers it
/// before asking any catalog, so it never hides a component of the
/// application's.
constexpr ComponentId kInspectionComponentId = 0;

/// How a module came to a catalog (OrvikModuleState::origin).
enum OrvikModuleOrigin : uint32_t {
    kOrvikOriginSection = 1,  ///< a numbered section's "dll"
    kOrvikOriginScan = 2,     ///< the "dlls" list, whose modules report their ids
    kOrvikOriginDefault = 3,  ///< "defaultdll"
    kOrvikOriginPreload = 4,  ///< "preload"
};

/// What a trace event reports (OrvikTraceEvent::kind).
enum OrvikTraceKind : uint32_t {
    kOrvikTraceLoad = 1,           ///< a catalog loaded a module the first time
    kOrvikTraceReload = 2,         ///< a catalog loaded a module again after it was forgotten or freed
    kOrvikTraceLoadFailed = 3,     ///< a catalog's load failed; error holds the error number
    kOrvikTraceIdleNotice = 4,     ///< a module's last live component went; it waits for the unload timer
    kOrvikTraceUnloadAsked = 5,    ///< the factory asks a module whether it can be unloaded
    kOrvikTraceUnloadRefused = 6,  ///< it stays; detail says why
    kOrvikTraceUnloadDone = 7,     ///< every catalog dropped its references to the module, or a catalog that ended freed it
    kOrvikTraceRoute = 8,          ///< where a request went; route says which way
};

/// Which way a request went (OrvikTraceEvent::route, kOrvikTraceRoute).
enum OrvikRoute : uint32_t {
    kOrvikRouteRegistered = 1,  ///< a shared instance answered; no catalog was asked
    kOrvikRouteSection = 2,     ///< the id's own section names the module
    kOrvikRouteScan = 3,        ///< a module of the "dlls" list (found or not)
    kOrvikRouteDefault = 4,     ///< the default module
    kOrvikRouteNothing = 5,     ///< nothing provides the id: null
};

/// Why a module stays (OrvikTraceEvent::detail, kOrvikTraceUnloadRefused).
enum OrvikRefusal : uint32_t {
    kOrvikRefusedCreating = 1,   ///< a creation through the module is under way
    kOrvikRefusedNoExport = 2,   ///< no OrvikDllCanUnloadNow: no module, or not one of the framework's
    kOrvikRefusedModuleBusy = 3, ///< its OrvikDllCanUnloadNow answered 0
};

/// The factory as a whole, first in a snapshot.
struct OrvikFactoryState {
    char rootPath[260];           ///< log files go below rootPath\\OrvikLog
    char logFile[260];            ///< the log file opened last, empty when none was
    int32_t logFileOpen;          ///< 1 while that file is open
    int32_t alive;                ///< 0 once the factory's shutdown began
    uint32_t catalogCount;        ///< the default catalog and one per configuration path
    uint32_t pendingCount;        ///< modules waiting for the unload timer
    int32_t timerRunning;         ///< 1 while the unload timer runs
    uint32_t registeredCount;     ///< ids a shared instance answers
};

/// One catalog: its file and the settings the file gave.
struct OrvikCatalogState {
    char configPath[260];       ///< the path as requests spell it; empty for the default catalog
    char configFile[260];       ///< the file read, redirects followed
    char dllPath[260];          ///< "dllpath": where relative module names start
    char defaultDllPath[260];   ///< "defaultdll", joined with dllPath; empty when none
    char unscannedDlls[260];    ///< names of "dlls" not scanned yet
    char failedDlls[260];       ///< names of "dlls" that did not load
    int32_t hasDllList;         ///< 1 when the file has a "dlls" list
    uint32_t sectionCount;      ///< numbered sections
    uint32_t scannedIdCount;    ///< ids the scan learned
    uint32_t defaultDebugOutputMask;  ///< "outputdebugstring" of [logdefault]
    uint32_t defaultLogFileMask;      ///< "writetologfile" of [logdefault]
    uint32_t maxFileCount;      ///< "MaxFileCount"
    uint32_t maxFileSize;       ///< "MaxFileSize", in bytes
    uint32_t moduleCount;       ///< modules held, reported after the catalog
};

/// A module a catalog holds, reported after its catalog.
struct OrvikModuleState {
    char path[260];                ///< the module's file
    Platform::ModuleHandle module; ///< its handle
    uint32_t origin;               ///< an OrvikModuleOrigin
    ComponentId sectionId;         ///< for a section's module, the section's id
    uint32_t references;           ///< loads of it the catalog holds
    uint32_t scannedIds;           ///< ids the scan records point at it
    int32_t entryPointsCached;     ///< 1 when a scan record keeps its CreateComponent
};

/// A module waiting for the unload timer.
struct OrvikPendingModule {
    char path[260];                ///< the module's file, empty when it left already
    Platform::ModuleHandle module; ///< its handle
};

/// Receives a snapshot, one item per call, with no lock of the factory's
/// held: it may call the factory. Records are valid during the call only.
class IOrvikSnapshotVisitor {
public:
    /// First, once.
    virtual void OnFactory(const OrvikFactoryState* state) = 0;
    /// Each catalog: those of configuration paths in the paths' byte order,
    /// then the default catalog. Its modules follow.
    virtual void OnCatalog(const OrvikCatalogState* catalog) = 0;
    /// A module the catalog reported last holds.
    virtual void OnModule(const OrvikModuleState* module) = 0;
    /// Each module waiting for the unload timer, in the order it is tried.
    virtual void OnPendingModule(const OrvikPendingModule* module) = 0;
    /// Each id a shared instance answers, ascending; kInspectionComponentId
    /// among them.
    virtual void OnRegisteredInstance(ComponentId id) = 0;

protected:
    /// Owned by its caller.
    ~IOrvikSnapshotVisitor() = default;
};

/// One event of the trace. Text is valid during the call only.
struct OrvikTraceEvent {
    uint32_t kind;                 ///< an OrvikTraceKind
    uint32_t route;                ///< an OrvikRoute for kOrvikTraceRoute, else 0
    uint32_t detail;               ///< an OrvikRefusal for kOrvikTraceUnloadRefused, else 0
    uint32_t error;                ///< the error number of a failed load, else 0
    uint64_t threadId;             ///< the calling thread, as the system numbers it
    uint64_t timeMicroseconds;     ///< when, in microseconds since 1970-01-01 00:00 UTC
    ComponentId componentId;       ///< the request's id (routes)
    Platform::ModuleHandle module; ///< the module concerned, null for a route
    const char* configPath;        ///< the catalog's configuration path ("" for the default one); for kOrvikRouteRegistered the request's
    const char* modulePath;        ///< the module's file, "" when unknown
};

/// A program's trace sink. OnTrace runs on the thread the event happens on,
/// with the factory's state lock held (a request a shared instance answers
/// is mostly told without it): it must return soon and must not call the
/// factory, its components or the inspection, nor wait for a thread that
/// might; copy what it needs.
class IOrvikTraceSink {
public:
    /// One event.
    virtual void OnTrace(const OrvikTraceEvent* event) = 0;

protected:
    /// Owned by its installer.
    ~IOrvikTraceSink() = default;
};

/// The factory's inspection: component kInspectionComponentId of the
/// factory module, one per factory, valid as long as the factory. Its
/// Release does nothing.
class IOrvikInspection : public IComponent {
public:
    /// The inspection's id, 0.
    static constexpr ComponentId kComponentId = kInspectionComponentId;

    /// Copies the factory's state under its locks, then hands it to visitor
    /// with no lock held: the factory, each catalog with its modules, the
    /// pending modules, the shared instances. 1, or 0 when visitor is null
    /// or the copy could not be made.
    virtual int32_t VisitSnapshot(IOrvikSnapshotVisitor* visitor) = 0;
    /// Installs sink, replacing any, or with null removes it. Returns once
    /// no call into the previous sink is under way, so its module may then
    /// go. 1, or 0 when called from inside OnTrace (nothing changes then).
    /// The sink's module must stay loaded until it is removed; the factory
    /// drops it when it ends.
    virtual int32_t SetTraceSink(IOrvikTraceSink* sink) = 0;

protected:
    /// Never deleted by its users.
    ~IOrvikInspection() = default;
};

}  // namespace Orvik
