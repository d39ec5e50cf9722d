// Brings an application back to the front and keeps it there while another one insists on being in its place.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

#include "platform/Desktop.h"
#include "platform/linux/applications/AttentionMarks.h"
#include "platform/linux/applications/FocusHistory.h"
#include "platform/linux/keyboard/ActivationDesk.h"
#include "platform/linux/x11/FrontWindow.h"
#include "platform/linux/x11/WindowOwners.h"
#include "platform/linux/x11/XcbConnection.h"
#include "platform/linux/x11/XcbEvents.h"

namespace platform::linux_desktop {

// Main thread. Nothing is un-minimised or fetched from another workspace.
class ApplicationReturn {
 public:
  using Clock = std::chrono::steady_clock;
  using WindowsOf = std::function<std::vector<xcb_window_t>(pid_t)>;

  // `windowsOf` tells the windows of an application that runs.
  ApplicationReturn(XcbConnection& connection, XcbEvents& events, WindowOwners& owners, TaskServices& tasks,
                    ActivationDesk& desk, WindowsOf windowsOf);

  // Asks the window manager for the window that the application had the focus in, else for one that is visible; false
  // if there is none. For half a second it then looks again ten times a second, just before whoever asked looks, and
  // asks anew while `intruder` is in front. Ends earlier when a third application comes to the front, with the next
  // beginning, and by ReturnUnderWay::end().
  bool begin(pid_t process, std::optional<pid_t> intruder);
  // Whether the application's being in front is just being undone, and therefore no news.
  bool isUndoing(std::optional<pid_t> process) const;
  // Whether another application than this one was asked back and has not been seen in front yet. Of the one whose place
  // it is to take, for half a second whatever becomes of the return.
  bool isAwaitedInsteadOf(pid_t process) const;
  // Whether it is the one that was asked back.
  bool isBringingBack(pid_t process) const;

  // Whoever is in front now.
  void noteFront(const Front& front);
  void noteWorkspace();
  FocusHistory& history() { return history_; }

 private:
  struct Target {
    Front front;
    std::optional<std::uint32_t> workspace;  // to be shown first
  };

  std::optional<Target> targetFor(pid_t process);
  bool hasWindow(pid_t process, xcb_window_t window, const std::vector<xcb_window_t>& windows);
  bool ask(const Target& target, bool insists);
  void askAgain();
  void look();
  void payMark();
  void lookLater();

  XcbConnection& connection_;
  XcbEvents& events_;
  WindowOwners& owners_;
  TaskServices& tasks_;
  ActivationDesk& desk_;
  ReturnUnderWay& underWay_ = desk_.returnUnderWay();
  const WindowsOf windowsOf_;
  FocusHistory history_;
  AttentionMarks attention_;

  // Of the return that began last.
  pid_t process_ = 0;
  std::optional<pid_t> intruder_;
  xcb_window_t intrudersWindow_ = XCB_WINDOW_NONE;
  bool wasSeen_ = false;
  std::optional<Clock::time_point> backSince_;  // absent while another one is in front
  bool isUndoing_ = false;
  Clock::time_point began_;
  Clock::time_point lastAsked_;
  bool owesMark_ = false;  // the intruder's window was sent back and does not show it yet
  int looksLeft_ = 0;
  ScheduledTask nextLook_;
};

}  // namespace platform::linux_desktop
