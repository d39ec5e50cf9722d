// Whether the user can see a window. On the connection's thread; each question is asked anew.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// The workspace that is shown; absent where the window manager knows of none.
std::optional<std::uint32_t> currentWorkspace(XcbConnection& connection);
// Absent for a window that is on all of them, and where the window manager knows of none.
std::optional<std::uint32_t> workspaceOf(XcbConnection& connection, xcb_window_t window);
bool isOnCurrentWorkspace(XcbConnection& connection, xcb_window_t window);
// Put away by the user or its application. A window behind others, in a tab that is not shown or on another workspace
// is not.
bool isMinimised(XcbConnection& connection, xcb_window_t window);
// It and all that it is in are mapped.
bool isViewable(XcbConnection& connection, xcb_window_t window);
// On the present workspace and not minimised, though perhaps behind others.
bool isVisible(XcbConnection& connection, xcb_window_t window);

}  // namespace platform::linux_desktop
