// The desktop of an X11 session.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/Desktop.h"
#include "platform/linux/applications/InstalledApplications.h"
#include "platform/linux/applications/LinuxWorkspace.h"
#include "platform/linux/applications/URLOpener.h"
#include "platform/linux/bus/LinuxAccessibility.h"
#include "platform/linux/bus/LinuxNotificationCenter.h"
#include "platform/linux/bus/SessionWatch.h"
#include "platform/linux/keyboard/ActivationDesk.h"
#include "platform/linux/keyboard/LinuxEventServices.h"
#include "platform/linux/stores/AutostartEntry.h"
#include "platform/linux/stores/LinuxFileManager.h"
#include "platform/linux/stores/LinuxLog.h"
#include "platform/linux/stores/LinuxUserDefaults.h"
#include "platform/linux/threads/LinuxRunLoops.h"
#include "platform/linux/threads/LinuxTasks.h"
#include "platform/linux/x11/XcbConnection.h"

namespace platform::linux_desktop {

// Made on the main thread once the application object is there, and installed by whoever made it.
class LinuxDesktop : public Desktop {
 public:
  // Null if the environment names no display that can be reached. `applicationIdentifier` names the log's subsystem,
  // the standard settings and the program's own windows.
  static std::unique_ptr<LinuxDesktop> open(const std::string& applicationIdentifier);
  ~LinuxDesktop() override;

  // Waits for background work, ends the threads and drops all work that waits, and the coroutines asleep with it. While
  // the desktop is still installed, because the work may use it.
  void finish() { tasks_.finish(); }
  // Both handlers are called from the event loop: once when the X server is gone, and each time that a window manager
  // begins or ends.
  void setConnectionLostHandler(std::function<void()> handler);
  void setWindowManagerHandler(std::function<void()> handler);
  // See LinuxWorkspace::judgeStart().
  void judgeStart(const Activation& start, const std::function<void(bool isFresh)>& then);

  NSWorkspace& workspace() override { return workspace_; }
  EventServices& events() override { return events_; }
  RunLoops& runLoops() override { return runLoops_; }
  AccessibilityServices& accessibility() override { return accessibility_; }
  TaskServices& tasks() override { return tasks_; }
  UserDefaultsServices& userDefaults() override { return userDefaults_; }
  NSFileManager& fileManager() override { return fileManager_; }
  BundleServices& bundles() override { return installed_; }
  NSNotificationCenter& defaultNotificationCenter() override { return defaultNotificationCenter_; }
  UNUserNotificationCenter& userNotificationCenter() override { return userNotificationCenter_; }
  SMAppService& mainAppService() override { return autostartEntry_; }
  LogSink& log() override { return log_; }
  std::string newUUID() override;

 private:
  LinuxDesktop(const std::string& applicationIdentifier, std::unique_ptr<XcbConnection> connection);

  std::unique_ptr<XcbConnection> connection_;
  LinuxLog log_;
  LinuxTasks tasks_;
  std::shared_ptr<ActivationDesk> desk_;
  LinuxRunLoops runLoops_;
  LinuxEventServices events_;
  LinuxFileManager fileManager_;
  LinuxUserDefaults userDefaults_;
  NSNotificationCenter defaultNotificationCenter_;
  LinuxNotificationCenter userNotificationCenter_;
  AutostartEntry autostartEntry_;
  InstalledApplications installed_;
  URLOpener opener_;
  LinuxWorkspace workspace_;
  SessionWatch sessionWatch_;
  LinuxAccessibility accessibility_;
};

}  // namespace platform::linux_desktop
