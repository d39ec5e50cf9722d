#include "platform/linux/x11/WindowStamps.h"

#include "platform/linux/intent/StartupId.h"
#include "platform/linux/x11/WindowProperties.h"

namespace platform::linux_desktop {
namespace {

// The window that speaks for all of its application; none where there is none.
xcb_window_t leaderOf(XcbConnection& connection, xcb_window_t window) {
  constexpr std::uint32_t hasGroup = 1u << 6;
  constexpr std::size_t groupPlace = 8;
  const auto hints = numbersOf(connection, window, "WM_HINTS", XCB_ATOM_WM_HINTS, groupPlace + 1);
  if (hints && hints->size() > groupPlace && (hints->front() & hasGroup) != 0) return (*hints)[groupPlace];
  return numberOf(connection, window, "WM_CLIENT_LEADER", XCB_ATOM_WINDOW).value_or(XCB_WINDOW_NONE);
}

}  // namespace

std::vector<std::uint32_t> stampsOf(XcbConnection& connection, xcb_window_t window) {
  std::vector<std::uint32_t> stamps;
  auto id = textOf(connection, window, "_NET_STARTUP_ID");
  if (!id) {
    const xcb_window_t leader = leaderOf(connection, window);
    if (leader != XCB_WINDOW_NONE && leader != window) id = textOf(connection, leader, "_NET_STARTUP_ID");
  }
  if (id) {
    if (const auto time = timeInStartupId(std::string_view(id->c_str()))) stamps.push_back(*time);
  }
  const auto elsewhere = numberOf(connection, window, "_NET_WM_USER_TIME_WINDOW", XCB_ATOM_WINDOW);
  const auto userTime = numberOf(connection, elsewhere.value_or(window), "_NET_WM_USER_TIME", XCB_ATOM_CARDINAL);
  if (userTime && *userTime != 0) stamps.push_back(*userTime);
  return stamps;
}

}  // namespace platform::linux_desktop
