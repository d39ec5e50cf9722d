// The applications of an X11 desktop and which one is in front.
#pragma once

#include <QSocketNotifier>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/Desktop.h"
#include "platform/linux/applications/ApplicationNames.h"
#include "platform/linux/applications/ApplicationRegistry.h"
#include "platform/linux/applications/ApplicationReturn.h"
#include "platform/linux/applications/InstalledApplications.h"
#include "platform/linux/applications/URLOpener.h"
#include "platform/linux/keyboard/ActivationDesk.h"
#include "platform/linux/x11/FrontWindow.h"
#include "platform/linux/x11/WindowOwners.h"
#include "platform/linux/x11/XcbConnection.h"
#include "platform/linux/x11/XcbEvents.h"

namespace platform::linux_desktop {

// Main thread, but for frontmostApplication() as NSWorkspace says. Off the main thread, and outside event-tap
// callbacks, that answers what the main thread saw last.
class LinuxWorkspace : public NSWorkspace, private ApplicationActivator {
 public:
  LinuxWorkspace(XcbConnection& connection, TaskServices& tasks, ActivationDesk& desk, InstalledApplications& installed,
                 const URLOpener& opener, std::string applicationIdentifier);
  ~LinuxWorkspace() override;

  // Called once from the event loop when the X server is gone or has closed the connection.
  void setConnectionLostHandler(std::function<void()> handler) { onConnectionLost_ = std::move(handler); }
  // Called from the event loop when a window manager begins or ends.
  void setWindowManagerHandler(std::function<void()> handler) { onWindowManagerChanged_ = std::move(handler); }
  // For a start of the program that is none of an application's: calls `then` once the event tap has told what the user
  // did before it and whether it came from that, as a command. `isFresh`: it names a time of late as that of a deed.
  void judgeStart(const Activation& start, const std::function<void(bool isFresh)>& then);

  std::optional<NSRunningApplication> frontmostApplication() override;
  std::vector<NSRunningApplication> runningApplications() override;
  NSNotificationCenter& notificationCenter() override { return notificationCenter_; }
  bool openURL(const std::string& url) override;
  std::optional<std::filesystem::path> URLForApplicationWithBundleIdentifier(const std::string& identifier) override;
  std::vector<std::filesystem::path> installedApplications() override;
  std::string iconForFile(const std::filesystem::path& location) override;

 private:
  // What a batch of events means together.
  struct News {
    bool clients = false;
    bool focus = false;
    bool workspace = false;
    bool windowManager = false;
  };
  using WindowsByProcess = std::map<pid_t, std::vector<xcb_window_t>>;

  bool activate(pid_t process) override;

  void handleEvents();
  void note(const xcb_generic_event_t& event, News& news) const;
  void reportLostConnection();

  void watchWindowManager();
  // Who owns the windows that are managed now.
  void updateClients();
  // `settled` had all the time that there is for its windows to be managed again.
  void updateApplications(std::optional<pid_t> settled = std::nullopt);
  void keepUnmanaged(WindowsByProcess& current, std::optional<pid_t> settled);
  void launch(pid_t process, const std::vector<xcb_window_t>& windows);
  void terminate(pid_t process);
  void updateFrontmost();
  // What is known of how the application came to the front that `front` shows there.
  Activation activationOf(const Front& front);

  Front front();
  std::vector<xcb_window_t> windowsOf(pid_t process) const;
  xcb_window_t ownMainWindow(const std::vector<xcb_window_t>& windows);
  NSRunningApplication namedApplication(const Front& front);
  void post(const char* name, const NSRunningApplication& application);

  XcbConnection& connection_;
  TaskServices& tasks_;
  ActivationDesk& desk_;
  InstalledApplications& installed_;
  const URLOpener& opener_;
  XcbEvents events_;
  WindowOwners owners_;
  ApplicationNaming naming_;
  ApplicationRegistry registry_;
  ApplicationReturn return_;
  NSNotificationCenter notificationCenter_;
  std::function<void()> onConnectionLost_;
  std::function<void()> onWindowManagerChanged_;

  WindowsByProcess windows_;  // of the applications that run
  std::map<xcb_window_t, std::optional<pid_t>> clients_;
  xcb_window_t windowManager_ = XCB_WINDOW_NONE;
  std::optional<pid_t> frontmost_;
  std::optional<pid_t> told_;  // of the activation that was told last; others may be on their way
  std::set<pid_t> launchers_;
  bool isLost_ = false;
  // The applications that are kept although nobody manages their windows, each until its time is over.
  std::map<pid_t, ScheduledTask> settling_;

  QSocketNotifier readable_;
};

}  // namespace platform::linux_desktop
