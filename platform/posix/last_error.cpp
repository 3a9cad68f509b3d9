#include "orvik/platform/module_loader.h"

namespace Orvik {
namespace Platform {

namespace {
// Each thread has its own last error, as on Windows.
thread_local uint32_t t_lastError = kErrorSuccess;
}  // namespace

uint32_t GetLastErrorCode() { return t_lastError; }

void SetLastErrorCode(uint32_t code) { t_lastError = code; }

}  // namespace Platform
}  // namespace Orvik
