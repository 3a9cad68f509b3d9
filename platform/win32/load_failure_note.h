#pragma once
// Records a failed load for GetLastLoadFailure.

#include "orvik/platform/load_failure.h"

namespace Orvik {
namespace Platform {

// Called right after LoadLibraryA(path) failed; keeps the last error as it
// found it.
void NoteLoadFailure(const char* path);

}  // namespace Platform
}  // namespace Orvik
