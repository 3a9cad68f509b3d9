// A module built without the framework: the cross-module floor reaches its
// components through one export, looked up once; the idle cycle's floor
// opens it again by path and looks its exports up each time.

#include "bench/modules/plain_probe.h"

#if defined(_WIN32)
#define PLAIN_EXPORT extern "C" __declspec(dllexport)
#else
#define PLAIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

PLAIN_EXPORT Orvik::Bench::PlainProbe* PlainCreate(int32_t id)
{
    return Orvik::Bench::PlainLiveProbe::Create(id, Orvik::Bench::kPlainTag);
}
PLAIN_EXPORT void PlainSetPath(const char*) {}
PLAIN_EXPORT void PlainSetOwner(void*) {}
