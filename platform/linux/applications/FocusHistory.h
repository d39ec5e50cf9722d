// Which window of each application had the focus last, and how it lost it.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>

#include "platform/linux/x11/FrontWindow.h"

namespace platform::linux_desktop {

// Main thread. Knows what it is told, with the times at which it is.
class FocusHistory {
 public:
  using Moment = std::chrono::steady_clock::time_point;

  void noteFront(const Front& front, Moment now);
  // The workspace that is shown now, each time that it may be another one.
  void noteWorkspace(std::optional<std::uint32_t> workspace, Moment now);
  void forgetUnless(const std::function<bool(pid_t)>& isKept);

  // Whose place `window`, which has the focus now and is not noted yet, has taken; none if that is not known. Who had
  // the focus for a moment only may have taken it, and could give it on to nobody but whom it had it from: for all
  // others it is the window before.
  xcb_window_t predecessorOf(xcb_window_t window, Moment now) const;
  // What the application was in front with when it was so last; absent if it never was.
  std::optional<Front> lastOf(pid_t process) const;
  // True if it went out of sight because who is in front now came there by having another workspace shown.
  bool lostItToSwitchFrom(pid_t process, std::optional<std::uint32_t> workspace) const;

 private:
  struct Last {
    Front front;
    Moment left;
  };
  struct Switch {
    std::optional<std::uint32_t> from;
    Moment when;
  };

  std::map<pid_t, Last> lasts_;
  Front front_;
  Moment frontSince_;
  xcb_window_t focused_ = XCB_WINDOW_NONE;
  Moment focusedSince_;
  xcb_window_t settled_ = XCB_WINDOW_NONE;  // before that, and not just for a moment
  std::optional<std::uint32_t> workspace_;
  std::optional<Switch> switch_;
};

}  // namespace platform::linux_desktop
