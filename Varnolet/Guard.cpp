#include "Guard.h"

#include <string>

#include "varnoletKit/ApplicationIdentifier.h"
#include "varnoletKit/EventLogAdapter.h"
#include "varnoletKit/WhitelistAdapter.h"

using namespace varnoletKit;

Guard::Guard()
    : state_(std::make_shared<FocusGuardState>()),
      settingsManager_(std::make_shared<SettingsManager>(std::string(applicationIdentifier))),
      eventLogManager_(std::make_shared<EventLogManager>()),
      notificationManager_(varnolet::NotificationManager::create(settingsManager_)),
      launchAtLoginManager_(settingsManager_) {
  const UserSettings settings = settingsManager_->settings();
  eventLogManager_->pruneEvents(settings.logRetentionDays);
  engine_ = FocusGuardEngine::create(settings.gestureWindowMs, settings.bufferTimeoutMs,
                                     std::make_shared<WhitelistAdapter>(settingsManager_),
                                     std::make_shared<EventLogAdapter>(eventLogManager_), state_);
  engine_->onBlockOccurred = [weak = std::weak_ptr(notificationManager_)](const BlockedEvent& event) {
    if (const auto notifications = weak.lock()) {
      notifications->postBlockNotification(event.thiefName, event.protectedName, event.keystrokesBuffered,
                                           event.thiefBundleID);
    }
  };
}

Guard::~Guard() {
  engine_->stop();
}

bool Guard::startIfPermitted() {
  permissionsManager_.refreshPermissions();
  if (isGuarding_ || !permissionsManager_.allPermissionsGranted()) return isGuarding_;
  isGuarding_ = engine_->start();
  // An engine without its tap would stay without.
  if (!isGuarding_) engine_->stop();
  return isGuarding_;
}
