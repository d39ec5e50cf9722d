#include "varnoletKit/AXObserverManager.h"

#include <cassert>
#include <chrono>
#include <utility>

#include "platform/Log.h"
#include "platform/NSWorkspace.h"
#include "platform/Tasks.h"
#include "varnoletKit/ApplicationIdentifier.h"

namespace varnoletKit {
namespace {

using namespace std::chrono_literals;

constexpr platform::Logger focusLog(platform::LogCategory::focus);

constexpr auto announcementDelay = 100ms;

platform::NSNotificationCenter& workspaceCenter() {
  return platform::NSWorkspace::sharedWorkspace().notificationCenter();
}

}  // namespace

AXObserverManager::~AXObserverManager() {
  assert(platform::isMainThread());
  removeNotificationObservers();
  for (const auto& [pid, observer] : observers_) removeSource(observer);
  observers_.clear();
}

void AXObserverManager::startMonitoring() {
  assert(platform::isMainThread());
  if (isMonitoring_) {
    focusLog.debug("AXObserverManager.startMonitoring() called but already monitoring — skipping");
    return;
  }
  isMonitoring_ = true;
  launchToken_ = onApplicationNotification(platform::NSWorkspaceDidLaunchApplicationNotification,
                                           &AXObserverManager::registerObserver);
  terminateToken_ = onApplicationNotification(platform::NSWorkspaceDidTerminateApplicationNotification,
                                              &AXObserverManager::deregisterObserver);
  registerInBackground(weak_from_this(), platform::NSWorkspace::sharedWorkspace().runningApplications());
  focusLog.debug("AXObserverManager started monitoring (background registration in progress)");
}

platform::NSNotificationCenter::ObserverToken AXObserverManager::onApplicationNotification(
    const char* name, void (AXObserverManager::*handle)(std::int32_t pid)) {
  return workspaceCenter().addObserverForName(
      name, platform::NSOperationQueue::mainQueue,
      [weak = weak_from_this(), handle](const platform::NSNotification& notification) {
        const auto app = notification.value<platform::NSRunningApplication>(platform::NSWorkspaceApplicationKey);
        if (!app) return;
        platform::runOnMainThread([weak, handle, pid = app->processIdentifier()] {
          if (const auto self = weak.lock()) (self.get()->*handle)(pid);
        });
      });
}

void AXObserverManager::stopMonitoring() {
  assert(platform::isMainThread());
  removeNotificationObservers();
  for (const auto& [pid, observer] : observers_) {
    removeSource(observer);
    focusLog.debug("Deregistered AXObserver for PID %d", pid);
  }
  observers_.clear();
  refconPointers_.clear();
  isMonitoring_ = false;
  focusLog.debug("AXObserverManager stopped monitoring");
}

// The manager is looked up anew after every wait, so that it can go at any moment, and only ever on the main thread.
platform::DetachedTask AXObserverManager::registerInBackground(
    std::weak_ptr<AXObserverManager> manager, std::vector<platform::NSRunningApplication> applications) {
  co_await platform::resumeInBackground(platform::QualityOfService::userInitiated);
  if (manager.expired()) co_return;
  for (const auto& application : applications) {
    co_await registerObserverInBackground(manager, application.processIdentifier());
  }
  focusLog.debug("AXObserverManager finished registering observers for %ld apps",
                 static_cast<std::int64_t>(applications.size()));
}

platform::Async<void> AXObserverManager::registerObserverInBackground(std::weak_ptr<AXObserverManager> manager,
                                                                      std::int32_t pid) {
  if (pid < 1) co_return;
  co_await platform::resumeOnMainThread();
  {
    const auto self = manager.lock();
    if (!self || self->observers_.contains(pid)) co_return;
  }
  co_await platform::resumeInBackground(platform::QualityOfService::userInitiated);
  auto registration = createRegistration(pid);
  if (!registration) co_return;
  co_await platform::resumeOnMainThread();
  if (const auto self = manager.lock()) self->installObserver(pid, std::move(*registration));
}

void AXObserverManager::registerObserver(std::int32_t pid) {
  assert(platform::isMainThread());
  if (pid < 1 || observers_.contains(pid)) return;
  if (auto registration = createRegistration(pid)) installObserver(pid, std::move(*registration));
}

std::optional<AXObserverManager::Registration> AXObserverManager::createRegistration(std::int32_t pid) {
  const auto created = platform::AXObserverCreate(pid, axObserverCallback);
  const auto* observer = std::get_if<platform::AXObserverRef>(&created);
  if (!observer || !*observer) {
    const auto error = observer ? platform::AXError::success : std::get<platform::AXError>(created);
    focusLog.debug("Failed to create AXObserver for PID %d: %d", pid, static_cast<std::int32_t>(error));
    return std::nullopt;
  }
  auto refcon = std::make_unique<std::int32_t>(pid);
  const auto error = platform::AXObserverAddNotification(*observer, platform::AXUIElementCreateApplication(pid),
                                                         platform::kAXApplicationActivatedNotification, refcon.get());
  if (error != platform::AXError::success) {
    focusLog.debug("Failed to add AX notification for PID %d: %d", pid, static_cast<std::int32_t>(error));
    return std::nullopt;
  }
  return Registration{std::move(refcon), *observer};
}

// One that a launch or the background was quicker to register keeps its place.
void AXObserverManager::installObserver(std::int32_t pid, Registration registration) {
  assert(platform::isMainThread());
  if (observers_.contains(pid)) return;
  platform::CFRunLoopAddSource(platform::CFRunLoopGetMain(),
                               platform::AXObserverGetRunLoopSource(registration.observer),
                               platform::kCFRunLoopDefaultMode);
  observers_.emplace(pid, std::move(registration.observer));
  refconPointers_.emplace(pid, std::move(registration.refcon));
  focusLog.debug("Registered AXObserver for PID %d", pid);
}

void AXObserverManager::deregisterObserver(std::int32_t pid) {
  assert(platform::isMainThread());
  const auto observer = observers_.extract(pid);
  if (!observer) return;
  removeSource(observer.mapped());
  const auto refcon = refconPointers_.extract(pid);
  focusLog.debug("Deregistered AXObserver for PID %d", pid);
}

void AXObserverManager::removeNotificationObservers() {
  for (auto* token : {&launchToken_, &terminateToken_}) {
    if (*token) workspaceCenter().removeObserver(**token);
    token->reset();
  }
}

void AXObserverManager::removeSource(const platform::AXObserverRef& observer) {
  platform::CFRunLoopRemoveSource(platform::CFRunLoopGetMain(), platform::AXObserverGetRunLoopSource(observer),
                                  platform::kCFRunLoopDefaultMode);
}

void AXObserverManager::axObserverCallback(platform::AXObserver&, const platform::AXUIElement&, const std::string&,
                                           void* refcon) {
  if (refcon) postActivationLater(*static_cast<const std::int32_t*>(refcon));
}

platform::DetachedTask AXObserverManager::postActivationLater(std::int32_t pid) {
  co_await platform::sleepOnMainThread(announcementDelay);
  postActivation(pid);
}

void AXObserverManager::postActivation(std::int32_t pid) {
  assert(platform::isMainThread());
  focusLog.debug("AXObserver: activation detected for PID %d", pid);
  platform::NSNotificationCenter::defaultCenter().postNotification(
      {std::string(applicationIdentifier) + ".axActivationDetected", {{"pid", pid}}});
}

}  // namespace varnoletKit
