// The notification centre of the simulated desktop, and its user.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/UNUserNotificationCenter.h"
#include "platform/simulated/Executor.h"
#include "platform/simulated/SimulatedDesktop.h"

namespace platform::simulated {

// Main thread. Whatever it has to tell, it tells on a background thread.
class UserNotifications final : public UNUserNotificationCenter {
 public:
  explicit UserNotifications(Executor& executor) : executor_(executor) {}

  // The verbs of SimulatedDesktop.
  void answerAuthorization(AuthorizationAnswer answer) { authorization_ = std::move(answer); }
  const std::vector<UNAuthorizationOptions>& authorizationRequests() const { return authorizationRequests_; }
  const std::vector<UNNotificationCategory>& categories() const { return categories_; }
  void failPosts(std::optional<std::string> description) { postFailure_ = std::move(description); }
  const std::vector<UNNotificationRequest>& posted() const { return posted_; }
  std::optional<UNNotificationPresentationOptions> presentationInFront(const UNNotificationRequest& request);
  void chooseAction(const UNNotificationRequest& request, const std::string& actionIdentifier);
  std::size_t finishedResponses() const { return *finishedResponses_; }

  // UNUserNotificationCenter
  void setDelegate(std::weak_ptr<UNUserNotificationCenterDelegate> delegate) override {
    delegate_ = std::move(delegate);
  }
  void requestAuthorizationWithOptions(
      UNAuthorizationOptions options,
      std::function<void(bool granted, const std::optional<NSError>& error)> completionHandler) override;
  void setNotificationCategories(std::vector<UNNotificationCategory> categories) override {
    categories_ = std::move(categories);
  }
  void addNotificationRequest(UNNotificationRequest request,
                              std::function<void(const std::optional<NSError>& error)> withCompletionHandler) override;

 private:
  Executor& executor_;
  std::weak_ptr<UNUserNotificationCenterDelegate> delegate_;
  AuthorizationAnswer authorization_;
  std::vector<UNAuthorizationOptions> authorizationRequests_;
  std::vector<UNNotificationCategory> categories_;
  std::optional<std::string> postFailure_;
  std::vector<UNNotificationRequest> posted_;
  std::shared_ptr<std::atomic<std::size_t>> finishedResponses_ = std::make_shared<std::atomic<std::size_t>>(0);
};

}  // namespace platform::simulated
