// What the running window manager can do, and what we ask of it. On the connection's thread; each question is asked
// anew, because window managers come and go.
#pragma once

#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// The window by which a running EWMH window manager shows that it lives, or none.
xcb_window_t windowManagerCheckWindow(XcbConnection& connection);
// True if a window manager runs that says that it answers requests to activate a window.
bool windowManagerActivates(XcbConnection& connection);
// Asks it to, in the user's name. `time` is the server's, and recent.
void requestActivation(XcbConnection& connection, xcb_window_t window, xcb_timestamp_t time);
void requestWorkspace(XcbConnection& connection, std::uint32_t workspace, xcb_timestamp_t time);
// Asks it to show that the window has something to say, or to show that no longer.
void requestAttention(XcbConnection& connection, xcb_window_t window, bool isWanted);
// Raises and focuses a window where nobody else would.
void focusWithoutWindowManager(XcbConnection& connection, xcb_window_t window, xcb_timestamp_t time);
// True if the server is a guest in a Wayland session, where it sees neither all windows nor all keys.
bool isGuestOfWayland(XcbConnection& connection);

}  // namespace platform::linux_desktop
