#pragma once
// Records a failed load for GetLastLoadFailure.

#include "orvik/platform/load_failure.h"

namespace Orvik {
namespace Platform {

// path as LoadModule was given it, the last error it set, and the loader's
// message (null when the loader was not asked, e.g. for a missing file).
void NoteLoadFailure(const char* path, uint32_t code, const char* loaderText);

}  // namespace Platform
}  // namespace Orvik
