#pragma once
/// \file
/// The process root path: the base of relative configuration paths.

namespace Orvik {

/// The process root path: asked once of the process register (id 991),
/// else the host executable's directory, without a trailing backslash. An
/// empty answer of the register is not kept: the next call asks again.
const char* GetRootPath();

}  // namespace Orvik
