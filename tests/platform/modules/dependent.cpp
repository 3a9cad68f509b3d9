// Depends on probe_a.dll: the probe's exports must not be found through it.
#if defined(_WIN32)
#define PROBE_EXPORT extern "C" __declspec(dllexport)
#define PROBE_IMPORT extern "C" __declspec(dllimport)
#else
#define PROBE_EXPORT extern "C" __attribute__((visibility("default")))
#define PROBE_IMPORT extern "C"
#endif

PROBE_IMPORT int ProbeCountCall();
PROBE_EXPORT int DependentValue() { return ProbeCountCall(); }
