#include "platform/path_split.h"

#include <cstdlib>

namespace Orvik {
namespace Platform {

// The run-time's _splitpath already skips trail bytes under the code page
// selected with _setmbcp.
void SplitPath(const char* path, char* drive, char* directory, char* fileName, char* extension)
{
    _splitpath(path, drive, directory, fileName, extension);
}

}  // namespace Platform
}  // namespace Orvik
