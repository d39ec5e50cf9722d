// Setting the keyboards right from outside, when the one that held them is gone.
#pragma once

#include "platform/linux/x11/InputDevices.h"
#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// Gives the locks (Caps Lock, the layout) that the applications see to a keyboard that was away from them.
void copyLocks(XcbConnection& connection, DeviceId master, DeviceId keyboard);

// Releases the keys that the server has down although no finger holds them: those in `emitted`, which the guard has
// pressed through XTEST, and those whose release the guard kept to itself. What other programs hold down through XTEST
// stays down.
void releaseStrandedKeys(XcbConnection& connection, const KeySet& emitted);

}  // namespace platform::linux_desktop
