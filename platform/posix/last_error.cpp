#include "orvik/platform/module_loader.h"

#include <cstdint>

#include "platform/posix/thread_slot.h"

namespace Orvik {
namespace Platform {

namespace {
// Each thread has its own last error, as on Windows; the number itself is
// the slot's value.
ThreadSlot& LastError()
{
    static ThreadSlot slot;
    return slot;
}
}  // namespace

uint32_t GetLastErrorCode() { return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(LastError().Get())); }

void SetLastErrorCode(uint32_t code) { LastError().Set(reinterpret_cast<void*>(static_cast<uintptr_t>(code))); }

}  // namespace Platform
}  // namespace Orvik
