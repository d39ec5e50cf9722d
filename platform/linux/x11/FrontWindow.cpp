#include "platform/linux/x11/FrontWindow.h"

#include "platform/linux/x11/WindowProperties.h"

namespace platform::linux_desktop {
namespace {

// The server tells by their numbers which windows one client has made.
bool areOfOneClient(XcbConnection& connection, xcb_window_t one, xcb_window_t other) {
  return ((one ^ other) & ~xcb_get_setup(connection)->resource_id_mask) == 0;
}

}  // namespace

// The input focus says it first and surest; a window manager may keep it in a window of its own, though.
Front frontOf(XcbConnection& connection, WindowOwners& owners) {
  const auto focus = replyTo(connection, xcb_get_input_focus_reply, xcb_get_input_focus(connection));
  xcb_window_t window = focus ? focus->focus : xcb_window_t{XCB_WINDOW_NONE};
  auto owner = owners.ownerOf(window);
  if (!owner) {
    window = numberOf(connection, connection.root(), "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW).value_or(XCB_WINDOW_NONE);
    // The window manager may not have noticed yet that it is gone.
    if (window != XCB_WINDOW_NONE && windowExists(connection, window)) owner = owners.ownerOf(window);
  }
  if (!owner) return {};
  const xcb_window_t client = owners.clientWindowOf(window);
  // Not a frame, which is not for us to focus.
  return {owner, client, areOfOneClient(connection, window, client) ? window : client};
}

}  // namespace platform::linux_desktop
