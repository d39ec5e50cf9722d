// Where the keyboard focus is, and the signs that it may be about to move.
#pragma once

#include <sys/types.h>

#include <optional>

#include "platform/linux/x11/WindowOwners.h"
#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// On the tap's connection and thread.
class FocusWatch {
 public:
  enum class Sign {
    none,
    focusMayMove,  // somebody asks for the focus, or a new window appears
    grabBegan,     // another program has grabbed the keyboard: a menu, a locker, the window manager
    grabEnded,     // nobody else grabs the keyboard; the focus may have moved
  };

  explicit FocusWatch(XcbConnection& connection) : connection_(connection), owners_(connection) {}

  // Asks for the events that handle() wants to see, and besides for XInput's: the focus leaving any window, the pointer
  // entering one of the screen's uppermost level.
  void begin();
  Sign handle(const xcb_generic_event_t& event);
  // The process that a key would go to now. A question to the server, exact as long as it is grabbed.
  std::optional<pid_t> frontmostProcess();

 private:
  void watchFocusOf(xcb_window_t window);
  void watchTopLevel(xcb_window_t window);
  void watchFocusOfClients();
  std::optional<pid_t> ownerOfActiveWindow();

  XcbConnection& connection_;
  WindowOwners owners_;
  xcb_atom_t activeWindow_ = XCB_ATOM_NONE;
  xcb_atom_t clientList_ = XCB_ATOM_NONE;
};

}  // namespace platform::linux_desktop
