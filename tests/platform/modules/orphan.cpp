// Depends on vanishing.dll, which is not where the loader looks.
#if defined(_WIN32)
#define PROBE_IMPORT extern "C" __declspec(dllimport)
#define PROBE_EXPORT extern "C" __declspec(dllexport)
#else
#define PROBE_IMPORT extern "C"
#define PROBE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

PROBE_IMPORT int VanishingValue();
PROBE_EXPORT int OrphanValue() { return VanishingValue(); }
