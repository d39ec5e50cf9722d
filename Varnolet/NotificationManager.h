// Tells the user of each blocked theft, and lets the thief in from then on if the user says so.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/UNUserNotificationCenter.h"
#include "varnoletKit/SettingsManager.h"

namespace varnolet {

// Lives as long as the process; the desktop refers to it weakly. Failures are logged, none is reported to the caller.
// Main thread, but for the operations of the delegate.
class NotificationManager final : public platform::UNUserNotificationCenterDelegate {
 public:
  // Becomes the delegate of the desktop's notification centre and sets its categories. Asks for the permission in a
  // task of its own; nothing depends on the answer.
  static std::shared_ptr<NotificationManager> create(std::shared_ptr<varnoletKit::SettingsManager> settingsManager);

  // Posts one notification, if the settings want any. It replaces the one of an earlier theft by the same thief.
  void postBlockNotification(const std::string& thiefName, const std::string& protectedName,
                             std::int64_t keystrokesBuffered, const std::string& thiefBundleID);

  // Posts what the user must know for the program to be of use, whatever the settings; without actions or sound. It
  // replaces an earlier one of that title.
  void postNotice(const std::string& title, const std::string& body);

  // UNUserNotificationCenterDelegate. Any thread.
  void userNotificationCenterWillPresentNotification(
      platform::UNUserNotificationCenter& center, const platform::UNNotification& notification,
      std::function<void(platform::UNNotificationPresentationOptions)> completionHandler) override;
  void userNotificationCenterDidReceiveNotificationResponse(platform::UNUserNotificationCenter& center,
                                                            const platform::UNNotificationResponse& response,
                                                            std::function<void()> completionHandler) override;

 private:
  explicit NotificationManager(std::shared_ptr<varnoletKit::SettingsManager> settingsManager);

  const std::shared_ptr<varnoletKit::SettingsManager> settingsManager_;
};

}  // namespace varnolet
