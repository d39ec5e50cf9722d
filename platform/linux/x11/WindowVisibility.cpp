#include "platform/linux/x11/WindowVisibility.h"

#include <algorithm>

#include "platform/linux/x11/WindowProperties.h"

namespace platform::linux_desktop {
namespace {

constexpr std::uint32_t everyWorkspace = 0xFFFFFFFF;
constexpr std::uint32_t mostStates = 64;

bool isHidden(XcbConnection& connection, xcb_window_t window) {
  const auto states = numbersOf(connection, window, "_NET_WM_STATE", XCB_ATOM_ATOM, mostStates);
  const xcb_atom_t hidden = connection.atom("_NET_WM_STATE_HIDDEN");
  return states && std::find(states->begin(), states->end(), hidden) != states->end();
}

}  // namespace

std::optional<std::uint32_t> currentWorkspace(XcbConnection& connection) {
  return numberOf(connection, connection.root(), "_NET_CURRENT_DESKTOP", XCB_ATOM_CARDINAL);
}

std::optional<std::uint32_t> workspaceOf(XcbConnection& connection, xcb_window_t window) {
  const auto workspace = numberOf(connection, window, "_NET_WM_DESKTOP", XCB_ATOM_CARDINAL);
  return workspace == everyWorkspace ? std::nullopt : workspace;
}

bool isOnCurrentWorkspace(XcbConnection& connection, xcb_window_t window) {
  const auto workspace = workspaceOf(connection, window);
  const auto current = currentWorkspace(connection);
  return !workspace || !current || workspace == current;
}

// One sign alone would not do: there are window managers that call all windows on other workspaces iconic, and others
// that call tabs hidden.
bool isMinimised(XcbConnection& connection, xcb_window_t window) {
  constexpr std::uint32_t iconic = 3;
  return numberOf(connection, window, "WM_STATE", connection.atom("WM_STATE")) == iconic &&
         isHidden(connection, window);
}

bool isViewable(XcbConnection& connection, xcb_window_t window) {
  const auto attributes =
      replyTo(connection, xcb_get_window_attributes_reply, xcb_get_window_attributes(connection, window));
  return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

bool isVisible(XcbConnection& connection, xcb_window_t window) {
  return isViewable(connection, window) && !isHidden(connection, window) && isOnCurrentWorkspace(connection, window);
}

}  // namespace platform::linux_desktop
