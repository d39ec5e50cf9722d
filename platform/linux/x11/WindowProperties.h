// Reads the properties of windows, which any client may have filled with anything.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// Each answer is absent if the window is gone, or the property is not set or not of that type. One round trip, on the
// connection's thread.

// The numbers of a property of 32-bit format; at most `limit` of them.
std::optional<std::vector<std::uint32_t>> numbersOf(XcbConnection& connection, xcb_window_t window,
                                                    std::string_view property, xcb_atom_t type, std::uint32_t limit);
// The first number, absent also where there is none.
std::optional<std::uint32_t> numberOf(XcbConnection& connection, xcb_window_t window, std::string_view property,
                                      xcb_atom_t type);
// The first 1024 bytes of a text property of any encoding, as they are.
std::optional<std::string> textOf(XcbConnection& connection, xcb_window_t window, std::string_view property);

// One round trip.
bool windowExists(XcbConnection& connection, xcb_window_t window);
// The windows that the window manager manages; empty without a window manager that tells.
std::vector<xcb_window_t> clientWindows(XcbConnection& connection);

}  // namespace platform::linux_desktop
