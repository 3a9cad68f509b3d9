#include "orvik/platform/lock.h"

#include <windows.h>

namespace Orvik {
namespace Platform {

static_assert(sizeof(CRITICAL_SECTION) <= sizeof(CriticalSection::storage), "lock storage too small");
static_assert(alignof(CRITICAL_SECTION) <= alignof(CriticalSection), "lock storage misaligned");

namespace {
CRITICAL_SECTION* SectionOf(CriticalSection* lock) { return reinterpret_cast<CRITICAL_SECTION*>(lock->storage); }
}  // namespace

void InitializeLock(CriticalSection* lock) { InitializeCriticalSection(SectionOf(lock)); }

void EnterLock(CriticalSection* lock) { EnterCriticalSection(SectionOf(lock)); }

void LeaveLock(CriticalSection* lock) { LeaveCriticalSection(SectionOf(lock)); }

void DeleteLock(CriticalSection* lock) { DeleteCriticalSection(SectionOf(lock)); }

void YieldThread() { SwitchToThread(); }

}  // namespace Platform
}  // namespace Orvik
