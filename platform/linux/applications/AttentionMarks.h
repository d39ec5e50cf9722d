// Windows that the user should look at when there is time.
#pragma once

#include <set>

#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// On the connection's thread. The window manager is asked to show it; it does so in its way, or not at all.
class AttentionMarks {
 public:
  explicit AttentionMarks(XcbConnection& connection) : connection_(connection) {}

  // Until the window comes to the front. Nothing happens for a window that is gone.
  void demandFor(xcb_window_t window);
  void noteFront(xcb_window_t window);

 private:
  XcbConnection& connection_;
  std::set<xcb_window_t> marked_;
};

}  // namespace platform::linux_desktop
