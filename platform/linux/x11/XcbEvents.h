// The events of a connection, none of them lost while something else is waited for.
#pragma once

#include <deque>

#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// On the connection's thread.
class XcbEvents {
 public:
  explicit XcbEvents(XcbConnection& connection);
  XcbEvents(const XcbEvents&) = delete;
  XcbEvents& operator=(const XcbEvents&) = delete;
  ~XcbEvents();

  // The next event, or null if none has come yet. Never waits.
  XcbOwned<xcb_generic_event_t> next();
  // The server's time now; 0 (which is no time) only if the connection is lost. One round trip.
  xcb_timestamp_t serverTime();

 private:
  XcbConnection& connection_;
  // Its property is changed to learn the time of the change.
  xcb_window_t clockWindow_;
  std::deque<XcbOwned<xcb_generic_event_t>> waiting_;
};

}  // namespace platform::linux_desktop
