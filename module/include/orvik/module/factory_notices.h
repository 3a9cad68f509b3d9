#pragma once
/// \file
/// What the module runtime tells the factory. The runtime only declares these
/// calls; the bootstrap that every module carries with its runtime defines
/// them, since reaching the factory is its business.

#include "orvik/module/component.h"
#include "orvik/platform/module_loader.h"

namespace Orvik {

/// Tells the factory that this module's last live component is gone.
void SendIdleNotice(Platform::ModuleHandle module);
/// Makes a singleton's new object the factory's shared instance of its id.
void RegisterSingleton(ComponentId componentId, IComponent* instance);

}  // namespace Orvik
