// Linked by orphan.dll but kept out of the program directory, so loading
// orphan.dll fails for a missing dependency.
#if defined(_WIN32)
#define PROBE_EXPORT extern "C" __declspec(dllexport)
#else
#define PROBE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

PROBE_EXPORT int VanishingValue() { return 7; }
