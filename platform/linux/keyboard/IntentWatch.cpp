#include "platform/linux/keyboard/IntentWatch.h"

#include "platform/linux/x11/WindowProperties.h"

namespace platform::linux_desktop {
namespace {

constexpr int deepestWindow = 64;

Moment now() {
  return std::chrono::steady_clock::now();
}

}  // namespace

Moment IntentWatch::timeOf(const xcb_input_raw_key_press_event_t& event) {
  return clock_.note(event.time, now());
}

std::optional<Command> IntentWatch::keyMoved(const UserIntent::Key& key, const xcb_input_raw_key_press_event_t& event) {
  return intent_.keyMoved(key, {timeOf(event), event.time});
}

std::optional<Command> IntentWatch::buttonMoved(const xcb_input_raw_button_press_event_t& event) {
  const bool isPress = event.event_type == XCB_INPUT_RAW_BUTTON_PRESS;
  return intent_.buttonMoved(isPress, {clock_.note(event.time, now()), event.time});
}

std::optional<Command> IntentWatch::focusLeft(const xcb_input_focus_out_event_t& event) {
  if (event.deviceid != devices_.masterKeyboard()) return std::nullopt;
  const Moment when = clock_.timeOf(event.time).value_or(now());
  if (event.mode == XCB_INPUT_NOTIFY_MODE_GRAB) return intent_.grabBegan({when, event.time});
  if (event.mode != XCB_INPUT_NOTIFY_MODE_UNGRAB) intent_.focusMoved(when);
  return std::nullopt;
}

// A pointer that is where a window comes up has not moved: then the event's source is not a mouse.
void IntentWatch::pointerEntered(const xcb_input_enter_event_t& event) {
  const bool isByGrab = event.mode != XCB_INPUT_NOTIFY_MODE_NORMAL;
  if (!isByGrab && devices_.isPointer(event.sourceid)) intent_.pointerEntered(event.event, now());
}

void IntentWatch::handle(const xcb_generic_event_t& event) {
  switch (event.response_type & ~0x80) {
    case XCB_CREATE_NOTIFY:
      intent_.windowCreated(reinterpret_cast<const xcb_create_notify_event_t&>(event).window, now());
      return;
    case XCB_MAP_NOTIFY:
      intent_.windowAppeared(reinterpret_cast<const xcb_map_notify_event_t&>(event).window, now());
      return;
    case XCB_UNMAP_NOTIFY:
      intent_.windowLeft(reinterpret_cast<const xcb_unmap_notify_event_t&>(event).window, now());
      return;
    case XCB_DESTROY_NOTIFY:
      intent_.windowLeft(reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window, now());
      return;
    case XCB_CLIENT_MESSAGE: {
      const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
      if (message.type != connection_.atom("_NET_ACTIVE_WINDOW") || message.format != 32) return;
      intent_.activationRequested(message.window, message.data.data32[1], now());
      return;
    }
    case XCB_PROPERTY_NOTIFY: {
      const auto& property = reinterpret_cast<const xcb_property_notify_event_t&>(event);
      const bool isOfRoot = property.window == connection_.root();
      if (isOfRoot && property.atom == connection_.atom("_NET_CURRENT_DESKTOP")) noteWorkspace();
      return;
    }
    default:
      return;
  }
}

std::optional<Command> IntentWatch::commandBehind(Activation activation) {
  activation.topLevel = topLevelOf(activation.window);
  activation.previousTopLevel = topLevelOf(activation.previousWindow);
  const auto present = workspace();
  const auto its = numberOf(connection_, activation.window, "_NET_WM_DESKTOP", XCB_ATOM_CARDINAL);
  constexpr std::uint32_t everyWorkspace = 0xFFFFFFFF;
  activation.isElsewhere = present && its && *its != everyWorkspace && its != present;
  return intent_.commandBehind(activation, now());
}

// A window manager that takes over from another says which workspace is shown, too.
void IntentWatch::noteWorkspace() {
  const auto present = workspace();
  if (!present || present == workspace_) return;
  workspace_ = present;
  intent_.workspaceChanged(now());
}

std::optional<std::uint32_t> IntentWatch::workspace() {
  return numberOf(connection_, connection_.root(), "_NET_CURRENT_DESKTOP", XCB_ATOM_CARDINAL);
}

xcb_window_t IntentWatch::topLevelOf(xcb_window_t window) {
  for (int depth = 0; depth < deepestWindow && window != XCB_WINDOW_NONE; ++depth) {
    const auto tree = replyTo(connection_, xcb_query_tree_reply, xcb_query_tree(connection_, window));
    if (!tree) return XCB_WINDOW_NONE;
    if (tree->parent == tree->root) return window;
    window = tree->parent;
  }
  return XCB_WINDOW_NONE;
}

}  // namespace platform::linux_desktop
