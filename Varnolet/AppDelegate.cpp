#include "Varnolet/AppDelegate.h"

#include <cassert>
#include <chrono>
#include <string>
#include <utility>

#include "Varnolet/AboutTab.h"
#include "platform/Log.h"
#include "platform/NSWorkspace.h"
#include "platform/ui/NSImage.h"
#include "varnoletKit/ApplicationIdentifier.h"
#include "varnoletKit/EventLogAdapter.h"
#include "varnoletKit/WhitelistAdapter.h"

namespace varnolet {
namespace {

using namespace platform::ui;
using namespace varnoletKit;

constexpr platform::Logger lifecycleLog(platform::LogCategory::lifecycle);
constexpr std::chrono::milliseconds firstPermissionCheckDelay(100);
constexpr std::chrono::seconds updaterDelay(3);
constexpr QSize popoverSize(290, 340);

}  // namespace

AppDelegate::~AppDelegate() {
  for (const auto& registration : registrations_) registration.center->removeObserver(registration.token);
}

void AppDelegate::applicationDidFinishLaunching() {
  assert(platform::isMainThread());
  createServices();
  createStatusItem();
  createPopover();
  menuBarController_ = std::make_unique<MenuBarController>(statusItem_, focusGuardState_, pauseManager_);
  eventLogManager_->pruneEventsLater(settingsManager_->settings().logRetentionDays);
  createEngine();
  checkPermissionsSoon();
  observeNotifications();
}

void AppDelegate::createServices() {
  focusGuardState_ = std::make_shared<FocusGuardState>();
  settingsManager_ = std::make_shared<SettingsManager>(std::string(applicationIdentifier));
  permissionsManager_ = std::make_shared<PermissionsManager>();
  eventLogManager_ = std::make_shared<EventLogManager>();
  pauseManager_ = PauseManager::create(focusGuardState_);
  notificationManager_ = NotificationManager::create(settingsManager_);
  launchAtLoginManager_ = std::make_unique<LaunchAtLoginManager>(settingsManager_);
  updaterController_ = std::make_unique<SPUStandardUpdaterController>(applicationIdentifier, false);
  updaterStart_ = platform::runOnMainThreadAfter(updaterDelay, [this] { updaterController_->startUpdater(); });
}

void AppDelegate::createStatusItem() {
  statusItem_ = std::make_shared<NSStatusItem>(NSSquareStatusItemLength);
  statusItem_->setTrayMissingHandler([this] { tellThatTrayIsMissing(); });
  auto* button = statusItem_->button();
  if (const auto image =
          NSImage::imageWithSystemSymbolName(QStringLiteral("shield.checkered"), QStringLiteral("Varnolet"))) {
    button->setImage(*image);
  }
  button->setAction([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->statusItemClicked();
  });
  button->sendActionOn(NSEventMaskLeftMouseUp | NSEventMaskRightMouseUp);
}

void AppDelegate::createPopover() {
  popover_ = std::make_unique<NSPopover>();
  popover_->setContentSize(popoverSize);
  popover_->setContent(buildPopoverView());
}

void AppDelegate::createEngine() {
  const UserSettings settings = settingsManager_->settings();
  focusGuardEngine_ = FocusGuardEngine::create(settings.gestureWindowMs, settings.bufferTimeoutMs,
                                               std::make_shared<WhitelistAdapter>(settingsManager_),
                                               std::make_shared<EventLogAdapter>(eventLogManager_), focusGuardState_);
  focusGuardEngine_->onBlockOccurred = [weak = weak_from_this()](const BlockedEvent& event) {
    if (const auto self = weak.lock()) self->blockOccurred(event);
  };
}

void AppDelegate::checkPermissionsSoon() {
  firstPermissionCheck_ = platform::runOnMainThreadAfter(firstPermissionCheckDelay, [this] {
    permissionsManager_->refreshPermissions();
    if (permissionsManager_->allPermissionsGranted()) {
      startEngine();
    } else {
      showOnboarding();
    }
  });
}

void AppDelegate::observeNotifications() {
  const auto observe = [this](platform::NSNotificationCenter& center, const char* name,
                              void (AppDelegate::*handler)()) {
    registrations_.push_back(
        {&center, center.addObserverForName(name, platform::NSOperationQueue::mainQueue,
                                            [weak = weak_from_this(), handler](const platform::NSNotification&) {
                                              if (const auto self = weak.lock()) ((*self).*handler)();
                                            })});
  };
  auto& center = platform::NSNotificationCenter::defaultCenter();
  observe(center, NSApplicationDidBecomeActiveNotification, &AppDelegate::appDidBecomeActive);
  observe(center, checkForUpdatesNotification, &AppDelegate::checkForUpdates);
  auto& workspaceCenter = platform::NSWorkspace::sharedWorkspace().notificationCenter();
  observe(workspaceCenter, platform::NSWorkspaceScreensDidWakeNotification, &AppDelegate::screensDidWake);
  observe(workspaceCenter, platform::NSWorkspaceSessionDidResignActiveNotification,
          &AppDelegate::sessionDidResignActive);
  observe(workspaceCenter, platform::NSWorkspaceSessionDidBecomeActiveNotification,
          &AppDelegate::sessionDidBecomeActive);
}

void AppDelegate::applicationWillTerminate() {
  stopEngine();
}

bool AppDelegate::applicationShouldHandleReopen(bool) {
  togglePopover();
  return true;
}

void AppDelegate::applicationWasStartedAgain(bool isByLauncher) {
  const auto window = settingsManager_->settings().gestureWindowMs;
  if (isByLauncher || focusGuardEngine_->gestureDetector().hasRecentUserGesture(window)) {
    NSApplication::sharedApplication()->reopen();
  } else {
    notificationManager_->postNotice("Varnolet is running",
                                     "Click its icon, or start it from your launcher, to open its panel.");
  }
}

void AppDelegate::statusItemClicked() {
  // The click that has just closed the popover was for that.
  if (popover_ && popover_->wasClosedByThisClick()) return;
  togglePopover();
}

void AppDelegate::recheckPermissionsAndStartEngine() {
  permissionsManager_->refreshPermissions();
  if (permissionsManager_->allPermissionsGranted()) startEngine();
}

void AppDelegate::screensDidWake() {
  pauseManager_->resumeIfDue();
  recheckPermissionsAndStartEngine();
}

void AppDelegate::startEngine() {
  if (!focusGuardEngine_) return;
  // One that runs on leaves the protection as the user has it.
  const bool wasRunning = focusGuardEngine_->isRunning();
  const bool staysOff = !focusGuardState_->isEnabled() && (isOffByChoice_ || pauseManager_->isPaused());
  const bool canProtect = focusGuardEngine_->start();
  if (wasRunning) return;
  isOffByChoice_ = canProtect;
  if (staysOff) focusGuardState_->setIsEnabled(false);
}

void AppDelegate::stopEngine() {
  if (!focusGuardEngine_) return;
  isOffByChoice_ = isOffByChoice_ && !focusGuardState_->isEnabled();
  focusGuardEngine_->stop();
}

void AppDelegate::checkForUpdates() {
  updaterController_->checkForUpdates();
}

void AppDelegate::blockOccurred(const BlockedEvent& event) {
  notificationManager_->postBlockNotification(event.thiefName, event.protectedName, event.keystrokesBuffered,
                                              event.thiefBundleID);
  menuBarController_->flash();
}

void AppDelegate::tellThatTrayIsMissing() {
  lifecycleLog.standard("This desktop has no tray for the icon; starting the program again opens the popover.");
  notificationManager_->postNotice("Varnolet has no icon here",
                                   "This desktop has no tray. Start Varnolet again to open its panel.");
}

}  // namespace varnolet
