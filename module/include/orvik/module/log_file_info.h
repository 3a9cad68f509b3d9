#pragma once
/// \file
/// How a component logs: two masks of these bits (one for the debugger
/// output, one for the log file) and the factory's log-file record.

#include <cstdint>

#include "orvik/platform/file_system.h"
#include "orvik/platform/lock.h"

namespace Orvik {

constexpr uint32_t LOG_E = 0x01;  ///< E in a configuration's log keys.
constexpr uint32_t LOG_T = 0x02;  ///< T in a configuration's log keys.
constexpr uint32_t LOG_V = 0x04;  ///< V in a configuration's log keys.
constexpr uint32_t LOG_D = 0x08;  ///< D in a configuration's log keys.
constexpr uint32_t LOG_W = 0x10;  ///< W in a configuration's log keys.
constexpr uint32_t LOG_C = 0x20;  ///< C in a configuration's log keys.

/// One per factory; components read it in place while the factory lives.
/// IOrvikComponentFactory::QueryLogSetting hands it out; the factory opens,
/// replaces and closes the file but never writes into it: components do, as
/// \ref logging "Writing to the log file" shows. After the factory's end
/// the record must not be used.
struct LogFileInfo {
    /// The factory lock, re-entrant. On Windows it points to the system's
    /// critical section (EnterCriticalSection, LeaveCriticalSection); on
    /// POSIX to the platform library's lock object, taken with
    /// Platform::EnterLock and Platform::LeaveLock or a Platform::LockGuard.
    /// A component holds it while it writes to the file, checks the size and
    /// starts a new file.
    Platform::CriticalSection* lock;
    /// The log file: invalid (all bits set) when none is open yet or opening
    /// failed, 0 once closed. On Windows the system's file handle; on POSIX
    /// used only through the platform's calls (Platform::WriteToFile,
    /// Platform::GetFileSizeLow).
    Platform::FileHandle file;
    uint32_t maxFileSize;   ///< Bytes a log file may grow to ("MaxFileSize").
    uint32_t maxFileCount;  ///< Log files kept at shutdown ("MaxFileCount").
};

}  // namespace Orvik
