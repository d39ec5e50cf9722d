#include "platform/linux/x11/WindowProperties.h"

namespace platform::linux_desktop {
namespace {

constexpr std::uint32_t longestText = 1024;
constexpr std::uint32_t mostClientWindows = 16384;

XcbOwned<xcb_get_property_reply_t> propertyOf(XcbConnection& connection, xcb_window_t window, std::string_view property,
                                              xcb_atom_t type, std::uint32_t length) {
  const xcb_atom_t atom = connection.atom(property);
  return replyTo(connection, xcb_get_property_reply, xcb_get_property(connection, 0, window, atom, type, 0, length));
}

}  // namespace

std::optional<std::vector<std::uint32_t>> numbersOf(XcbConnection& connection, xcb_window_t window,
                                                    std::string_view property, xcb_atom_t type, std::uint32_t limit) {
  const auto reply = propertyOf(connection, window, property, type, limit);
  if (!reply || reply->type != type || reply->format != 32) return std::nullopt;
  const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
  return std::vector<std::uint32_t>(first, first + reply->value_len);
}

std::optional<std::uint32_t> numberOf(XcbConnection& connection, xcb_window_t window, std::string_view property,
                                      xcb_atom_t type) {
  const auto numbers = numbersOf(connection, window, property, type, 1);
  if (!numbers || numbers->empty()) return std::nullopt;
  return numbers->front();
}

std::optional<std::string> textOf(XcbConnection& connection, xcb_window_t window, std::string_view property) {
  const auto reply = propertyOf(connection, window, property, XCB_ATOM_ANY, longestText / 4);
  if (!reply || reply->type == XCB_ATOM_NONE || reply->format != 8) return std::nullopt;
  return std::string(static_cast<const char*>(xcb_get_property_value(reply.get())), reply->value_len);
}

bool windowExists(XcbConnection& connection, xcb_window_t window) {
  return replyTo(connection, xcb_get_window_attributes_reply, xcb_get_window_attributes(connection, window)) != nullptr;
}

std::vector<xcb_window_t> clientWindows(XcbConnection& connection) {
  return numbersOf(connection, connection.root(), "_NET_CLIENT_LIST", XCB_ATOM_WINDOW, mostClientWindows)
      .value_or(std::vector<xcb_window_t>{});
}

}  // namespace platform::linux_desktop
