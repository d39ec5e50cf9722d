#include "platform/linux/keyboard/FocusWatch.h"

#include <xcb/xinput.h>

#include "platform/linux/x11/WindowProperties.h"

namespace platform::linux_desktop {
namespace {

void selectOfMasters(XcbConnection& connection, xcb_window_t window, std::uint32_t mask) {
  struct {
    xcb_input_event_mask_t header;
    std::uint32_t mask;
  } const selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, mask};
  xcb_input_xi_select_events(connection, window, 1, &selection.header);
}

}  // namespace

void FocusWatch::begin() {
  activeWindow_ = connection_.atom("_NET_ACTIVE_WINDOW");
  clientList_ = connection_.atom("_NET_CLIENT_LIST");
  // Requests to the window manager are sent to the root as substructure notifications: they are seen here when the
  // window manager sees them, before it acts.
  const std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
  xcb_change_window_attributes(connection_, connection_.root(), XCB_CW_EVENT_MASK, &mask);
  selectOfMasters(connection_, connection_.root(), XCB_INPUT_XI_EVENT_MASK_FOCUS_OUT);
  const auto tree = replyTo(connection_, xcb_query_tree_reply, xcb_query_tree(connection_, connection_.root()));
  if (tree) {
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) watchTopLevel(children[i]);
  }
  watchFocusOfClients();
}

// What happens to a client inside its frame, only its own events tell.
void FocusWatch::watchFocusOf(xcb_window_t window) {
  const std::uint32_t mask = XCB_EVENT_MASK_FOCUS_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(connection_, window, XCB_CW_EVENT_MASK, &mask);
}

void FocusWatch::watchTopLevel(xcb_window_t window) {
  const std::uint32_t mask = XCB_EVENT_MASK_FOCUS_CHANGE;
  xcb_change_window_attributes(connection_, window, XCB_CW_EVENT_MASK, &mask);
  selectOfMasters(connection_, window, XCB_INPUT_XI_EVENT_MASK_ENTER | XCB_INPUT_XI_EVENT_MASK_FOCUS_OUT);
}

void FocusWatch::watchFocusOfClients() {
  for (const xcb_window_t window : clientWindows(connection_)) watchFocusOf(window);
}

FocusWatch::Sign FocusWatch::handle(const xcb_generic_event_t& event) {
  switch (event.response_type & ~0x80) {
    case XCB_CLIENT_MESSAGE: {
      const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
      return message.type == activeWindow_ ? Sign::focusMayMove : Sign::none;
    }
    case XCB_CREATE_NOTIFY:
      watchTopLevel(reinterpret_cast<const xcb_create_notify_event_t&>(event).window);
      return Sign::focusMayMove;
    case XCB_MAP_NOTIFY:
      return Sign::focusMayMove;
    case XCB_PROPERTY_NOTIFY: {
      const auto& property = reinterpret_cast<const xcb_property_notify_event_t&>(event);
      if (property.atom == clientList_) {
        owners_.forgetAll();
        watchFocusOfClients();
      }
      return property.atom == activeWindow_ ? Sign::focusMayMove : Sign::none;
    }
    case XCB_FOCUS_IN:
    case XCB_FOCUS_OUT: {
      const auto& focus = reinterpret_cast<const xcb_focus_in_event_t&>(event);
      if (focus.mode == XCB_NOTIFY_MODE_GRAB) return Sign::grabBegan;
      if (focus.mode == XCB_NOTIFY_MODE_WHILE_GRABBED) return Sign::focusMayMove;
      return Sign::grabEnded;
    }
    default:
      return Sign::none;
  }
}

std::optional<pid_t> FocusWatch::frontmostProcess() {
  const auto focus = replyTo(connection_, xcb_get_input_focus_reply, xcb_get_input_focus(connection_));
  if (!focus) return std::nullopt;
  const auto owner = owners_.ownerOf(focus->focus);
  return owner ? owner : ownerOfActiveWindow();
}

std::optional<pid_t> FocusWatch::ownerOfActiveWindow() {
  const auto active = numberOf(connection_, connection_.root(), "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW);
  return active ? owners_.ownerOf(*active) : std::nullopt;
}

}  // namespace platform::linux_desktop
