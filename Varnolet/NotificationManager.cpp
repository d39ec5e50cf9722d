#include "Varnolet/NotificationManager.h"

#include <cassert>
#include <optional>
#include <utility>
#include <vector>

#include "platform/Log.h"
#include "platform/Tasks.h"
#include "platform/UUID.h"

namespace varnolet {
namespace {

using namespace platform;
using varnoletKit::SettingsManager;

constexpr Logger focusLog(LogCategory::focus);
constexpr char categoryIdentifier[] = "BLOCK_NOTIFICATION";
constexpr char alwaysAllow[] = "ALWAYS_ALLOW";
constexpr char dismiss[] = "DISMISS";
constexpr char thiefKey[] = "thiefBundleID";

void requestAuthorization() {
  UNUserNotificationCenter::currentNotificationCenter().requestAuthorizationWithOptions(
      UNAuthorizationOptionAlert | UNAuthorizationOptionSound | UNAuthorizationOptionBadge,
      [](bool granted, const std::optional<NSError>& error) {
        if (error) {
          focusLog.error("Failed to request notification authorization: %s", error->localizedDescription);
        } else if (granted) {
          focusLog.info("Notification authorization granted.");
        } else {
          focusLog.error("Notification authorization denied by user.");
        }
      });
}

void registerCategory() {
  const std::vector actions{
      UNNotificationAction::actionWithIdentifier(alwaysAllow, "Always Allow", UNNotificationActionOptionNone),
      UNNotificationAction::actionWithIdentifier(dismiss, "Dismiss", UNNotificationActionOptionDestructive)};
  UNUserNotificationCenter::currentNotificationCenter().setNotificationCategories(
      {UNNotificationCategory::categoryWithIdentifier(categoryIdentifier, actions, {},
                                                      UNNotificationCategoryOptionNone)});
}

void post(UNMutableNotificationContent content, std::function<void(const std::optional<NSError>&)> completionHandler) {
  UNUserNotificationCenter::currentNotificationCenter().addNotificationRequest(
      UNNotificationRequest::requestWithIdentifier(newUUID(), std::move(content), UNNotificationTrigger::none),
      std::move(completionHandler));
}

void handleResponse(SettingsManager& settingsManager, const std::string& action,
                    const std::optional<std::string>& thiefBundleID) {
  if (action == alwaysAllow && thiefBundleID) {
    focusLog.info("User chose 'Always Allow' for %s.", *thiefBundleID);
    settingsManager.addToWhitelist(*thiefBundleID);
  } else if (action == dismiss) {
    focusLog.debug("User dismissed block notification.");
  }
}

}  // namespace

std::shared_ptr<NotificationManager> NotificationManager::create(std::shared_ptr<SettingsManager> settingsManager) {
  assert(isMainThread());
  std::shared_ptr<NotificationManager> manager(new NotificationManager(std::move(settingsManager)));
  UNUserNotificationCenter::currentNotificationCenter().setDelegate(manager);
  runOnMainThread(requestAuthorization);
  registerCategory();
  return manager;
}

NotificationManager::NotificationManager(std::shared_ptr<SettingsManager> settingsManager)
    : settingsManager_(std::move(settingsManager)) {}

void NotificationManager::postBlockNotification(const std::string& thiefName, const std::string& protectedName,
                                                std::int64_t keystrokesBuffered, const std::string& thiefBundleID) {
  assert(isMainThread());
  if (!settingsManager_->settings().notificationsEnabled) {
    focusLog.debug("Notifications disabled; skipping block notification.");
    return;
  }
  UNMutableNotificationContent content;
  content.title = "Varnolet blocked " + thiefName;
  content.body = thiefName + " tried to steal focus from " + protectedName + ". " + std::to_string(keystrokesBuffered) +
                 " keystrokes buffered and restored.";
  content.categoryIdentifier = categoryIdentifier;
  content.threadIdentifier = thiefBundleID;
  content.userInfo.emplace(thiefKey, thiefBundleID);
  if (settingsManager_->settings().soundEnabled) content.sound = UNNotificationSound::defaultSound();

  post(std::move(content), [](const std::optional<NSError>& error) {
    if (error) focusLog.error("Failed to post block notification: %s", error->localizedDescription);
  });
}

void NotificationManager::postNotice(const std::string& title, const std::string& body) {
  assert(isMainThread());
  post({.title = title, .body = body, .threadIdentifier = title}, [](const std::optional<NSError>& error) {
    if (error) focusLog.error("Failed to post a notice: %s", error->localizedDescription);
  });
}

void NotificationManager::userNotificationCenterWillPresentNotification(
    UNUserNotificationCenter&, const UNNotification&,
    std::function<void(UNNotificationPresentationOptions)> completionHandler) {
  completionHandler(UNNotificationPresentationOptionBanner | UNNotificationPresentationOptionSound);
}

void NotificationManager::userNotificationCenterDidReceiveNotificationResponse(
    UNUserNotificationCenter&, const UNNotificationResponse& response, std::function<void()> completionHandler) {
  runOnMainThread([settingsManager = settingsManager_, action = response.actionIdentifier,
                   thiefBundleID = response.notification.request.content.value<std::string>(thiefKey),
                   completionHandler = std::move(completionHandler)] {
    handleResponse(*settingsManager, action, thiefBundleID);
    completionHandler();
  });
}

}  // namespace varnolet
