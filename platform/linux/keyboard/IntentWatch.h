// Sees on the tap's connection what tells whose doing an activation is.
#pragma once

#include <xcb/xinput.h>

#include <optional>

#include "platform/linux/intent/ServerClock.h"
#include "platform/linux/intent/UserIntent.h"
#include "platform/linux/keyboard/KeyRoles.h"
#include "platform/linux/x11/InputDevices.h"
#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// Brings events to UserIntent, in its terms; FocusWatch and InputDevices have asked for them. On the tap's connection
// and thread.
class IntentWatch {
 public:
  IntentWatch(XcbConnection& connection, const InputDevices& devices) : connection_(connection), devices_(devices) {}

  // Before any event is brought here.
  void begin() { workspace_ = workspace(); }

  // When it happened, by our own clock.
  Moment timeOf(const xcb_input_raw_key_press_event_t& event);
  // A finger on a physical keyboard.
  std::optional<Command> keyMoved(const UserIntent::Key& key, const xcb_input_raw_key_press_event_t& event);
  // One of the buttons that are told, on a physical mouse.
  std::optional<Command> buttonMoved(const xcb_input_raw_button_press_event_t& event);
  // This press came to the applications: by itself, or typed through XTEST.
  void pressArrived(const xcb_input_raw_key_press_event_t& event) { intent_.pressArrived(event.time); }
  std::optional<Command> focusLeft(const xcb_input_focus_out_event_t& event);
  void pointerEntered(const xcb_input_enter_event_t& event);
  // Events of windows, those of XInput aside.
  void handle(const xcb_generic_event_t& event);

  // Asks the server where the windows are.
  std::optional<Command> commandBehind(Activation activation);

 private:
  void noteWorkspace();
  std::optional<std::uint32_t> workspace();
  // The window itself or the one around it that is a child of the root; none if it is gone.
  xcb_window_t topLevelOf(xcb_window_t window);

  XcbConnection& connection_;
  const InputDevices& devices_;
  std::optional<std::uint32_t> workspace_;  // the last one that was known
  ServerClock clock_;
  UserIntent intent_;
};

}  // namespace platform::linux_desktop
