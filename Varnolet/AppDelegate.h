// The owner of everything: makes the services, the icon and the guard, and opens the windows.
#pragma once

#include <memory>
#include <vector>

#include "Varnolet/LaunchAtLoginManager.h"
#include "Varnolet/MenuBarController.h"
#include "Varnolet/NotificationManager.h"
#include "Varnolet/PauseManager.h"
#include "platform/NSNotificationCenter.h"
#include "platform/Tasks.h"
#include "platform/ui/NSApplication.h"
#include "platform/ui/NSPopover.h"
#include "platform/ui/NSStatusItem.h"
#include "platform/ui/NSWindow.h"
#include "platform/ui/SPUStandardUpdaterController.h"
#include "varnoletKit/EventLogManager.h"
#include "varnoletKit/FocusGuardEngine.h"
#include "varnoletKit/FocusGuardState.h"
#include "varnoletKit/PermissionsManager.h"
#include "varnoletKit/SettingsManager.h"

namespace varnolet {

// Empty when made; applicationDidFinishLaunching() fills it. Main thread only.
class AppDelegate final : public platform::ui::NSApplicationDelegate, public std::enable_shared_from_this<AppDelegate> {
 public:
  static std::shared_ptr<AppDelegate> create() { return std::shared_ptr<AppDelegate>(new AppDelegate); }
  ~AppDelegate() override;

  // NSApplicationDelegate
  void applicationDidFinishLaunching() override;
  void applicationWillTerminate() override;
  bool applicationShouldHandleReopen(bool hasVisibleWindows) override;

  // Somebody started the program while it runs. That is a reopening only if the user did: a launcher says so, or they
  // did something just before that may have led to it. The popover would take the keys of whoever types.
  void applicationWasStartedAgain(bool isByLauncher);

  // Reads the permissions anew and starts the engine if both are there; an engine that runs stays as it is. For
  // whatever may have changed them.
  void recheckPermissionsAndStartEngine();

  // Each is null until the launch made it; the windows until they were shown.
  const std::shared_ptr<platform::ui::NSStatusItem>& statusItem() const { return statusItem_; }
  platform::ui::NSPopover* popover() const { return popover_.get(); }
  platform::ui::NSWindow* onboardingWindow() const { return onboardingWindow_.get(); }
  platform::ui::NSWindow* settingsWindow() const { return settingsWindow_.get(); }
  const std::shared_ptr<varnoletKit::FocusGuardState>& focusGuardState() const { return focusGuardState_; }
  const std::shared_ptr<varnoletKit::SettingsManager>& settingsManager() const { return settingsManager_; }
  const std::shared_ptr<varnoletKit::EventLogManager>& eventLogManager() const { return eventLogManager_; }
  const std::shared_ptr<PauseManager>& pauseManager() const { return pauseManager_; }
  const std::shared_ptr<varnoletKit::FocusGuardEngine>& focusGuardEngine() const { return focusGuardEngine_; }
  const platform::ui::SPUStandardUpdaterController* updaterController() const { return updaterController_.get(); }

 private:
  AppDelegate() = default;

  // Parts of the launch.
  void createServices();
  void createStatusItem();
  void createPopover();
  void createEngine();
  void checkPermissionsSoon();
  void observeNotifications();

  void statusItemClicked();
  void appDidBecomeActive() { recheckPermissionsAndStartEngine(); }
  void screensDidWake();
  void sessionDidBecomeActive() { recheckPermissionsAndStartEngine(); }
  void sessionDidResignActive() { stopEngine(); }
  void checkForUpdates();
  void blockOccurred(const varnoletKit::BlockedEvent& event);
  void tellThatTrayIsMissing();

  void startEngine();
  void stopEngine();
  void togglePopover();
  QWidget* buildPopoverView();
  void showSettings();
  void showLog();
  void showOnboarding();
  void dismissOnboarding();

  // From one service to the next that uses it: they are released the other way round.
  std::shared_ptr<varnoletKit::FocusGuardState> focusGuardState_;
  std::shared_ptr<varnoletKit::SettingsManager> settingsManager_;
  std::shared_ptr<varnoletKit::PermissionsManager> permissionsManager_;
  std::shared_ptr<varnoletKit::EventLogManager> eventLogManager_;
  std::shared_ptr<PauseManager> pauseManager_;
  std::shared_ptr<NotificationManager> notificationManager_;
  std::unique_ptr<LaunchAtLoginManager> launchAtLoginManager_;
  std::unique_ptr<platform::ui::SPUStandardUpdaterController> updaterController_;
  std::shared_ptr<platform::ui::NSStatusItem> statusItem_;
  std::unique_ptr<platform::ui::NSPopover> popover_;
  std::unique_ptr<MenuBarController> menuBarController_;
  std::shared_ptr<varnoletKit::FocusGuardEngine> focusGuardEngine_;
  std::unique_ptr<platform::ui::NSWindow> onboardingWindow_;
  std::unique_ptr<platform::ui::NSWindow> settingsWindow_;
  std::vector<std::unique_ptr<platform::ui::NSWindow>> logWindows_;

  // If the protection is off, that is so because somebody switched it off. The engine does so too as it stops, or if it
  // cannot protect; and switches it on as it starts, which must not undo what the user chose.
  bool isOffByChoice_ = true;
  platform::ScheduledTask updaterStart_;
  platform::ScheduledTask firstPermissionCheck_;
  struct Registration {
    platform::NSNotificationCenter* center;
    platform::NSNotificationCenter::ObserverToken token;
  };
  std::vector<Registration> registrations_;
};

}  // namespace varnolet
