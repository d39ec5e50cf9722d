// Has the X server to oneself.
#pragma once

#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// While one lives, the server does nothing for anybody else: focus cannot move between a question and a key.
class ServerGrab {
 public:
  explicit ServerGrab(xcb_connection_t* connection) : connection_(connection) { xcb_grab_server(connection_); }
  ServerGrab(const ServerGrab&) = delete;
  ServerGrab& operator=(const ServerGrab&) = delete;
  ~ServerGrab() {
    xcb_ungrab_server(connection_);
    xcb_flush(connection_);
  }

 private:
  xcb_connection_t* connection_;
};

}  // namespace platform::linux_desktop
