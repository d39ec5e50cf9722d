#include "platform/simulated/UserNotifications.h"

namespace platform::simulated {
namespace {

std::optional<NSError> errorOf(const std::optional<std::string>& description) {
  if (!description) return std::nullopt;
  return NSError{*description};
}

}  // namespace

void UserNotifications::requestAuthorizationWithOptions(
    UNAuthorizationOptions options,
    std::function<void(bool granted, const std::optional<NSError>& error)> completionHandler) {
  authorizationRequests_.push_back(options);
  executor_.runInBackground(QualityOfService::standard,
                            [completionHandler = std::move(completionHandler), answer = authorization_] {
                              completionHandler(answer.granted, errorOf(answer.failure));
                            });
}

void UserNotifications::addNotificationRequest(
    UNNotificationRequest request, std::function<void(const std::optional<NSError>& error)> withCompletionHandler) {
  if (!postFailure_) posted_.push_back(std::move(request));
  executor_.runInBackground(QualityOfService::standard,
                            [completionHandler = std::move(withCompletionHandler), failure = postFailure_] {
                              completionHandler(errorOf(failure));
                            });
}

std::optional<UNNotificationPresentationOptions> UserNotifications::presentationInFront(
    const UNNotificationRequest& request) {
  const auto delegate = delegate_.lock();
  if (!delegate) return std::nullopt;
  const auto answer = std::make_shared<std::optional<UNNotificationPresentationOptions>>();
  delegate->userNotificationCenterWillPresentNotification(
      *this, {request}, [answer](UNNotificationPresentationOptions options) { *answer = options; });
  return *answer;
}

void UserNotifications::chooseAction(const UNNotificationRequest& request, const std::string& actionIdentifier) {
  executor_.runInBackground(QualityOfService::standard, [this, weak = delegate_,
                                                         response = UNNotificationResponse{{request}, actionIdentifier},
                                                         finished = finishedResponses_] {
    const auto delegate = weak.lock();
    if (!delegate) return;
    delegate->userNotificationCenterDidReceiveNotificationResponse(*this, response, [finished] { ++*finished; });
  });
}

}  // namespace platform::simulated
