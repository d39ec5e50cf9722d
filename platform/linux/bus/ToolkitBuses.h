// Which buses the toolkit is shown.
#pragma once

#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// To be called before the application object and other threads are there; takes a second at most. The toolkit waits for
// buses without a bound, with no key guarded: for the session's when it begins, and for the accessibility bus and the
// launcher that tells of it when the first widget gets its name. Where one of them does not answer, the toolkit is
// shown no session bus, for as long as the process lives: it then has no bridge to assistive programs and no tray over
// D-Bus, only one that embeds windows. Says so on standard error. Connections that are made to sessionBusAddress()
// still work, unless it is the session bus itself that is silent.
void hideSilentBusesFromToolkit(XcbConnection& connection);

}  // namespace platform::linux_desktop
