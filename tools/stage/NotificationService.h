// The desktop's notification service, a real one.
#pragma once

#include <memory>

#include "tools/stage/VirtualDesktop.h"

namespace stage {

// Returns when it answers on the desktop's bus; throws std::runtime_error if it never does. To be called before anybody
// asks for such a service: the bus would start what is installed here, which may be another.
std::unique_ptr<ChildProcess> startNotificationService(const VirtualDesktop& desktop);

}  // namespace stage
