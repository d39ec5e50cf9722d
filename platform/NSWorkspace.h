// The applications of the desktop: which run, which one is in front, and what becomes of them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/NSNotificationCenter.h"
#include "platform/NSRunningApplication.h"

namespace platform {

// Posted on the workspace's notification centre, on the main thread. Their user information holds the application
// under NSWorkspaceApplicationKey.
inline constexpr char NSWorkspaceDidActivateApplicationNotification[] = "NSWorkspaceDidActivateApplicationNotification";
inline constexpr char NSWorkspaceDidLaunchApplicationNotification[] = "NSWorkspaceDidLaunchApplicationNotification";
inline constexpr char NSWorkspaceDidTerminateApplicationNotification[] =
    "NSWorkspaceDidTerminateApplicationNotification";
inline constexpr char NSWorkspaceApplicationKey[] = "NSWorkspaceApplicationKey";

class NSWorkspace {
 public:
  NSWorkspace() = default;
  NSWorkspace(const NSWorkspace&) = delete;
  NSWorkspace& operator=(const NSWorkspace&) = delete;
  virtual ~NSWorkspace() = default;

  // The workspace of the installed desktop.
  static NSWorkspace& sharedWorkspace();

  // The application that the user's keys go to; absent when they go to none. Any thread. During an event-tap callback
  // it is the one that the event in hand would reach.
  virtual std::optional<NSRunningApplication> frontmostApplication() = 0;
  // Main thread. In no particular order, the program's own process included if it is an application.
  virtual std::vector<NSRunningApplication> runningApplications() = 0;
  virtual NSNotificationCenter& notificationCenter() = 0;
  // Main thread. Asks the desktop to open an address; false if nothing could be asked.
  virtual bool openURL(const std::string& url) = 0;
};

}  // namespace platform
