// The application in front and the window that it is in front with.
#pragma once

#include <sys/types.h>

#include <optional>

#include "platform/linux/x11/WindowOwners.h"
#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

struct Front {
  std::optional<pid_t> process;
  xcb_window_t window = XCB_WINDOW_NONE;  // a client window of that process
  xcb_window_t focus = XCB_WINDOW_NONE;   // what keys go to: that window, or one that its program has put into it
};

// On the connection's thread. Asks the server.
Front frontOf(XcbConnection& connection, WindowOwners& owners);

}  // namespace platform::linux_desktop
