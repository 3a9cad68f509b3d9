#pragma once
/// \file
/// The current local time as text.

#include "orvik/platform/platform_api.h"

namespace Orvik {
namespace Platform {

/// Formats the current local time with strftime conventions; returns the
/// number of characters written, 0 when the result does not fit.
ORVIK_PLATFORM_API size_t FormatLocalTime(char* buffer, size_t size, const char* format);

}  // namespace Platform
}  // namespace Orvik
