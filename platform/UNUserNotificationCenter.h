// Notifications that the desktop shows to the user, with actions to choose from.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/NSFileManager.h"
#include "platform/UserInfo.h"

namespace platform {

// Each a set of bits.
using UNAuthorizationOptions = std::uint32_t;
inline constexpr UNAuthorizationOptions UNAuthorizationOptionBadge = 1U << 0;
inline constexpr UNAuthorizationOptions UNAuthorizationOptionSound = 1U << 1;
inline constexpr UNAuthorizationOptions UNAuthorizationOptionAlert = 1U << 2;

using UNNotificationPresentationOptions = std::uint32_t;
inline constexpr UNNotificationPresentationOptions UNNotificationPresentationOptionSound = 1U << 1;
inline constexpr UNNotificationPresentationOptions UNNotificationPresentationOptionBanner = 1U << 4;

using UNNotificationActionOptions = std::uint32_t;
inline constexpr UNNotificationActionOptions UNNotificationActionOptionNone = 0;
inline constexpr UNNotificationActionOptions UNNotificationActionOptionDestructive = 1U << 1;

using UNNotificationCategoryOptions = std::uint32_t;
inline constexpr UNNotificationCategoryOptions UNNotificationCategoryOptionNone = 0;

// The action of a click on the notification itself.
inline constexpr char UNNotificationDefaultActionIdentifier[] = "default";

struct UNNotificationAction {
  std::string identifier;
  std::string title;
  UNNotificationActionOptions options = UNNotificationActionOptionNone;

  static UNNotificationAction actionWithIdentifier(std::string identifier, std::string title,
                                                   UNNotificationActionOptions options) {
    return {std::move(identifier), std::move(title), options};
  }
  friend bool operator==(const UNNotificationAction&, const UNNotificationAction&) = default;
};

// A kind of notification, and the actions that it offers.
struct UNNotificationCategory {
  std::string identifier;
  std::vector<UNNotificationAction> actions = {};
  std::vector<std::string> intentIdentifiers = {};
  UNNotificationCategoryOptions options = UNNotificationCategoryOptionNone;

  static UNNotificationCategory categoryWithIdentifier(std::string identifier,
                                                       std::vector<UNNotificationAction> actions,
                                                       std::vector<std::string> intentIdentifiers,
                                                       UNNotificationCategoryOptions options) {
    return {std::move(identifier), std::move(actions), std::move(intentIdentifiers), options};
  }
  friend bool operator==(const UNNotificationCategory&, const UNNotificationCategory&) = default;
};

// The desktop's own sound for notifications: the only one there is.
struct UNNotificationSound {
  static UNNotificationSound defaultSound() { return {}; }
  friend bool operator==(const UNNotificationSound&, const UNNotificationSound&) = default;
};

struct UNMutableNotificationContent {
  // Plain text: a desktop that would take markup gets it escaped.
  std::string title = {};
  std::string body = {};
  std::string categoryIdentifier = {};
  // What the notification is about. A newer one about the same replaces it on the screen; without, it stands for
  // itself.
  std::string threadIdentifier = {};
  // Comes back with the user's answer.
  UserInfo<std::int32_t, std::string> userInfo = {};
  std::optional<UNNotificationSound> sound = std::nullopt;

  // The user info under `key` if it is there and of type T, else nothing.
  template <class T>
  std::optional<T> value(std::string_view key) const {
    return valueIn<T>(userInfo, key);
  }
};

// When a notification is delivered: at once, since there are no triggers.
enum class UNNotificationTrigger { none };

struct UNNotificationRequest {
  std::string identifier;
  UNMutableNotificationContent content;

  static UNNotificationRequest requestWithIdentifier(std::string identifier, UNMutableNotificationContent content,
                                                     UNNotificationTrigger) {
    return {std::move(identifier), std::move(content)};
  }
};

struct UNNotification {
  UNNotificationRequest request;
};

struct UNNotificationResponse {
  UNNotification notification;
  // One of the category's, or UNNotificationDefaultActionIdentifier.
  std::string actionIdentifier;
};

class UNUserNotificationCenter;

// Called on any thread. Each operation calls its completion handler once, on whichever thread and at whatever time.
class UNUserNotificationCenterDelegate {
 public:
  UNUserNotificationCenterDelegate() = default;
  UNUserNotificationCenterDelegate(const UNUserNotificationCenterDelegate&) = delete;
  UNUserNotificationCenterDelegate& operator=(const UNUserNotificationCenterDelegate&) = delete;
  virtual ~UNUserNotificationCenterDelegate() = default;

  // How to show a notification that comes while the program itself is in front. Asked by desktops that would otherwise
  // not show it then.
  virtual void userNotificationCenterWillPresentNotification(
      UNUserNotificationCenter& center, const UNNotification& notification,
      std::function<void(UNNotificationPresentationOptions)> completionHandler) = 0;
  // The user chose an action.
  virtual void userNotificationCenterDidReceiveNotificationResponse(UNUserNotificationCenter& center,
                                                                    const UNNotificationResponse& response,
                                                                    std::function<void()> completionHandler) = 0;
};

// Main thread. The completion handlers are called on any thread, never inside the call; not at all if the desktop ends
// first.
class UNUserNotificationCenter {
 public:
  UNUserNotificationCenter() = default;
  UNUserNotificationCenter(const UNUserNotificationCenter&) = delete;
  UNUserNotificationCenter& operator=(const UNUserNotificationCenter&) = delete;
  virtual ~UNUserNotificationCenter() = default;

  static UNUserNotificationCenter& currentNotificationCenter();

  virtual void setDelegate(std::weak_ptr<UNUserNotificationCenterDelegate> delegate) = 0;
  // Whether notifications may be shown. With an error it is not known.
  virtual void requestAuthorizationWithOptions(
      UNAuthorizationOptions options,
      std::function<void(bool granted, const std::optional<NSError>& error)> completionHandler) = 0;
  // Replaces the categories set before.
  virtual void setNotificationCategories(std::vector<UNNotificationCategory> categories) = 0;
  // Tells the error, or nothing once the desktop took the notification or a newer one of its thread in its place.
  virtual void addNotificationRequest(
      UNNotificationRequest request,
      std::function<void(const std::optional<NSError>& error)> withCompletionHandler) = 0;
};

}  // namespace platform
