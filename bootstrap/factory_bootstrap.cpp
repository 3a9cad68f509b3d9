#include "bootstrap/factory_bootstrap.h"

namespace Orvik {

// The factory acquisition is not built yet: both calls reach nothing for now.
void SendIdleNotice(Platform::ModuleHandle) {}

void RegisterSingleton(ComponentId, IComponent*) {}

}  // namespace Orvik
