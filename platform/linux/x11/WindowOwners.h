// Which application a window belongs to.
#pragma once

#include <sys/types.h>
#include <xcb/xcb.h>

#include <optional>
#include <unordered_map>

#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// Answers for the windows of one connection's server, on that connection's thread. Asks the server the first time and
// remembers.
class WindowOwners {
 public:
  explicit WindowOwners(XcbConnection& connection) : connection_(connection) {}

  // The process of the application that `window` belongs to, where `window` may be a client window, anything inside
  // one, or its frame. A transient window belongs to the application that it is transient for. Absent for windows that
  // are nobody's: root, none, docks, desktops, notifications, tooltips, menus, override-redirect windows.
  std::optional<pid_t> ownerOf(xcb_window_t window);
  // The application's top-level window that `window` is, is inside of, or is the frame of; none where there is no such
  // window or it vanished. Asks the server each time.
  xcb_window_t clientWindowOf(xcb_window_t window);
  // Forgets all answers: to be called when the list of client windows changed.
  void forgetAll() { known_.clear(); }

 private:
  XcbConnection& connection_;
  std::unordered_map<xcb_window_t, std::optional<pid_t>> known_;
};

}  // namespace platform::linux_desktop
