#include "platform/linux/x11/WindowManager.h"

#include <xcb/xinput.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/linux/x11/WindowProperties.h"

namespace platform::linux_desktop {
namespace {

constexpr char checkProperty[] = "_NET_SUPPORTING_WM_CHECK";
constexpr std::uint32_t sourceIsPager = 2;  // it speaks for the user

bool hasExtension(XcbConnection& connection, std::string_view name) {
  const auto extension = replyTo(connection, xcb_query_extension_reply,
                                 xcb_query_extension(connection, static_cast<std::uint16_t>(name.size()), name.data()));
  return extension && extension->present;
}

void ask(XcbConnection& connection, xcb_window_t window, const char* request, std::array<std::uint32_t, 5> values) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = connection.atom(request);
  std::copy(values.begin(), values.end(), message.data.data32);
  xcb_send_event(connection, 0, connection.root(),
                 XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                 reinterpret_cast<const char*>(&message));
  xcb_flush(connection);
}

}  // namespace

xcb_window_t windowManagerCheckWindow(XcbConnection& connection) {
  const auto window = numberOf(connection, connection.root(), checkProperty, XCB_ATOM_WINDOW);
  if (!window) return XCB_WINDOW_NONE;
  // The property of the root outlives a window manager that crashed, the window does not.
  const auto itself = numberOf(connection, *window, checkProperty, XCB_ATOM_WINDOW);
  return itself == window ? *window : xcb_window_t{XCB_WINDOW_NONE};
}

bool windowManagerActivates(XcbConnection& connection) {
  if (windowManagerCheckWindow(connection) == XCB_WINDOW_NONE) return false;
  const auto supported = numbersOf(connection, connection.root(), "_NET_SUPPORTED", XCB_ATOM_ATOM, 1024);
  return supported &&
         std::find(supported->begin(), supported->end(), connection.atom("_NET_ACTIVE_WINDOW")) != supported->end();
}

void requestActivation(XcbConnection& connection, xcb_window_t window, xcb_timestamp_t time) {
  ask(connection, window, "_NET_ACTIVE_WINDOW", {sourceIsPager, time});
}

void requestWorkspace(XcbConnection& connection, std::uint32_t workspace, xcb_timestamp_t time) {
  ask(connection, connection.root(), "_NET_CURRENT_DESKTOP", {workspace, time});
}

void requestAttention(XcbConnection& connection, xcb_window_t window, bool isWanted) {
  ask(connection, window, "_NET_WM_STATE",
      {isWanted ? 1U : 0U, connection.atom("_NET_WM_STATE_DEMANDS_ATTENTION"), 0, sourceIsPager});
}

void focusWithoutWindowManager(XcbConnection& connection, xcb_window_t window, xcb_timestamp_t time) {
  const std::uint32_t above = XCB_STACK_MODE_ABOVE;
  xcb_configure_window(connection, window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
  xcb_set_input_focus(connection, XCB_INPUT_FOCUS_PARENT, window, time);
  xcb_flush(connection);
}

bool isGuestOfWayland(XcbConnection& connection) {
  if (hasExtension(connection, "XWAYLAND")) return true;
  // Older servers of that kind can be told by the names of their devices.
  const auto* extension = xcb_get_extension_data(connection, &xcb_input_id);
  if (!extension || !extension->present) return false;
  xcb_discard_reply(connection, xcb_input_xi_query_version(connection, 2, 2).sequence);
  const auto devices =
      replyTo(connection, xcb_input_xi_query_device_reply, xcb_input_xi_query_device(connection, XCB_INPUT_DEVICE_ALL));
  if (!devices) return false;
  for (auto device = xcb_input_xi_query_device_infos_iterator(devices.get()); device.rem > 0;
       xcb_input_xi_device_info_next(&device)) {
    const std::string_view name(xcb_input_xi_device_info_name(device.data), device.data->name_len);
    if (name.starts_with("xwayland-")) return true;
  }
  return false;
}

}  // namespace platform::linux_desktop
