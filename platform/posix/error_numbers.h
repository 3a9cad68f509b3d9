#pragma once
// The Windows numbers for what the POSIX calls report in errno. What fails
// inside a public call of the layer for lack of memory ends at its
// boundary, as its failure result and a last error, never as an exception.

#include <new>

#include "orvik/platform/module_loader.h"

namespace Orvik {
namespace Platform {

// Windows numbers that only this backend needs to name.
constexpr uint32_t kErrorTooManyOpenFiles = 4;
constexpr uint32_t kErrorNotEnoughMemory = 8;
constexpr uint32_t kErrorDiskFull = 112;
// What Windows reports when the device fails a transfer
// (STATUS_IO_DEVICE_ERROR): a read or write error of the disk.
constexpr uint32_t kErrorIoDevice = 1117;

// The Windows number for an errno value; a missing file or directory is 2.
uint32_t ErrorFromErrno(int error);
// The same for a module file the loader is to load: what is not a lack of
// memory, descriptors, room or access, or a failing device, reads as a
// module not found (126).
uint32_t ModuleErrorFromErrno(int error);

// What a public call returns when it ran out of memory (std::bad_alloc,
// caught at its boundary): its failure result, with the last error 8.
template <class Result>
Result OutOfMemory(Result failed)
{
    SetLastErrorCode(kErrorNotEnoughMemory);
    return failed;
}

}  // namespace Platform
}  // namespace Orvik
