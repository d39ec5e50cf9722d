// The server times that a window names as those of what the user did to bring it up.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// From its startup identifier and its user time, or its group's; empty where there is none. Any client may have put
// anything there. On the connection's thread.
std::vector<std::uint32_t> stampsOf(XcbConnection& connection, xcb_window_t window);

}  // namespace platform::linux_desktop
