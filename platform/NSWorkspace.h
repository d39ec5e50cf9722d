// The applications of the desktop: which run, which one is in front, and what becomes of them.
#pragma once

#include <filesystem>
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

// Likewise, without user information. The screens wake at the end of sleep or of the screen saver; the user's session
// resigns when it is locked or switched away from, and becomes active when it is neither any more.
inline constexpr char NSWorkspaceScreensDidWakeNotification[] = "NSWorkspaceScreensDidWakeNotification";
inline constexpr char NSWorkspaceSessionDidBecomeActiveNotification[] = "NSWorkspaceSessionDidBecomeActiveNotification";
inline constexpr char NSWorkspaceSessionDidResignActiveNotification[] = "NSWorkspaceSessionDidResignActiveNotification";

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

  // Installed applications. A location names one and is good for NSBundle and NSFileManager::displayNameAtPath. Main
  // thread.
  // Absent if no application of that identifier is installed.
  virtual std::optional<std::filesystem::path> URLForApplicationWithBundleIdentifier(const std::string& identifier) = 0;
  // All that a user would start, in no particular order.
  virtual std::vector<std::filesystem::path> installedApplications() = 0;
  // The name of an icon of the desktop's theme, or the path of an image file; empty if it has none.
  virtual std::string iconForFile(const std::filesystem::path& location) = 0;
};

}  // namespace platform
