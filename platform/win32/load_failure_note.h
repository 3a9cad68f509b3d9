#pragma once
// Records a failed load for GetLastLoadFailure.

#include <cstdint>

#include "orvik/platform/load_failure.h"

namespace Orvik {
namespace Platform {

// Called right after LoadLibraryA(path) failed; keeps the last error as it
// found it.
void NoteLoadFailure(const char* path);

// Called when the record of path's file refused it with code before the
// loader saw it; leaves code as the last error. The words for it are made
// when the failure is asked for: the modules that only load others need not
// carry them.
void NoteRecordRefusal(const char* path, uint32_t code);

// The calling thread's record, shared by every module of the process; made
// on the process heap at the first failure when create, and kept with the
// process. Null when there is none, or none could be made.
LoadFailure* ThreadLoadFailure(bool create);

}  // namespace Platform
}  // namespace Orvik
