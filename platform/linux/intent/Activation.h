// An application that has come to the front, and what can be known of how it did.
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace platform::linux_desktop {

using Moment = std::chrono::steady_clock::time_point;
// Of a window; 0 is none.
using WindowId = std::uint32_t;

struct Activation {
  // The application's window that has the focus, and the window that had it before, of whatever application.
  WindowId window = 0;
  WindowId previousWindow = 0;
  // The windows of the screen's uppermost level that they are in: their frames, or themselves. The tap asks for them.
  WindowId topLevel = 0;
  WindowId previousTopLevel = 0;
  // The window says that it is on another workspace than the one that is shown. The tap asks for that too.
  bool isElsewhere = false;
  // Only where the process comes to the front for the first time: when it started, and those of its ancestors that
  // are not much older.
  std::vector<Moment> starts;
  // Server times that the window names as those of the user's deed that it comes from.
  std::vector<std::uint32_t> stamps;
  // Another application was asked back to the front and has not been seen there yet, or was a moment ago, from this
  // one.
  bool isReturnUnderWay = false;
  // This one was asked back to the front: that is nobody's command.
  bool isBroughtBack = false;
};

}  // namespace platform::linux_desktop
