// A module built without the module runtime whose CreateComponent lets an
// exception out, as a module made some other way might.

#include <cstdint>
#include <stdexcept>

#if defined(_WIN32)
#define FOREIGN_EXPORT extern "C" __declspec(dllexport)
#else
#define FOREIGN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

FOREIGN_EXPORT void* CreateComponent(int32_t, uint32_t) { throw std::runtime_error("not made here"); }
