#include "tools/path_kind.h"

#include "orvik/platform/file_system.h"

namespace Orvik {
namespace Tools {

PathKind KindOfPath(const std::string& path)
{
    if (path.empty() || !Platform::PathIsPresent(path.c_str())) return PathKind::Missing;
    // A listing of the path itself describes the entry; the name it
    // matches may differ in case, but the entry is there by the check above.
    Platform::FindData data{};
    const Platform::UniqueFind find(Platform::FindFirstEntry(path.c_str(), &data));
    if (!find || (data.attributes & Platform::kFileAttributeDirectory) != 0) return PathKind::Directory;
    return PathKind::File;
}

}  // namespace Tools
}  // namespace Orvik
