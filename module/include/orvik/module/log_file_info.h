#pragma once
// How a component logs: two masks of these bits (one for the debugger
// output, one for the log file) and the factory's log-file record.

#include <cstdint>

#include "orvik/platform/file_system.h"
#include "orvik/platform/lock.h"

namespace Orvik {

constexpr uint32_t LOG_E = 0x01;
constexpr uint32_t LOG_T = 0x02;
constexpr uint32_t LOG_V = 0x04;
constexpr uint32_t LOG_D = 0x08;
constexpr uint32_t LOG_W = 0x10;
constexpr uint32_t LOG_C = 0x20;

// One per factory; components read it in place while the factory lives.
struct LogFileInfo {
    Platform::CriticalSection* lock;  // the factory lock
    Platform::FileHandle file;        // invalid: none opened yet; 0: closed
    uint32_t maxFileSize;             // bytes
    uint32_t maxFileCount;
};

}  // namespace Orvik
