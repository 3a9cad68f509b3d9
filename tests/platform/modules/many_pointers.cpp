// A module whose relocation table is larger than the file check reads at
// once: one relocation for each of its many pointers.
#if defined(_WIN32)
#define PROBE_EXPORT extern "C" __declspec(dllexport)
#else
#define PROBE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace {

constexpr int kValues = 64;
int g_values[kValues];

#define POINTERS_1 &g_values[__COUNTER__ % kValues],
#define POINTERS_8 POINTERS_1 POINTERS_1 POINTERS_1 POINTERS_1 POINTERS_1 POINTERS_1 POINTERS_1 POINTERS_1
#define POINTERS_64 POINTERS_8 POINTERS_8 POINTERS_8 POINTERS_8 POINTERS_8 POINTERS_8 POINTERS_8 POINTERS_8
#define POINTERS_512 POINTERS_64 POINTERS_64 POINTERS_64 POINTERS_64 POINTERS_64 POINTERS_64 POINTERS_64 POINTERS_64

int* const g_pointers[] = {POINTERS_512 POINTERS_512 POINTERS_512 POINTERS_512
                           POINTERS_512 POINTERS_512 POINTERS_512 POINTERS_512};

}  // namespace

PROBE_EXPORT int PointedValue(int index)
{
    const int count = static_cast<int>(sizeof g_pointers / sizeof g_pointers[0]);
    return *g_pointers[index % count];
}
