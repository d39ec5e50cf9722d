// Accessibility of the simulated desktop.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/Desktop.h"
#include "platform/simulated/Executor.h"
#include "platform/simulated/RunLoopService.h"

namespace platform::simulated {

class Accessibility final : public AccessibilityServices {
 public:
  Accessibility(Executor& executor, RunLoopService& runLoops) : executor_(executor), runLoops_(runLoops) {}

  // The verbs of SimulatedDesktop.
  void grant(bool granted);
  void refuseObserver(std::int32_t pid, AXError error);
  void refuseNotification(std::int32_t pid, AXError error);
  void announceActivation(std::int32_t pid);
  std::size_t observersOf(std::int32_t pid) const;
  void duringBackgroundRegistration(std::int32_t pid, std::function<void()> story);

  // AccessibilityServices
  bool isProcessTrusted() override;
  std::variant<AXError, AXObserverRef> createObserver(std::int32_t pid, AXObserverCallback callback) override;

 private:
  class Observer;

  // Those of the process that are alive and in the main run loop.
  std::vector<std::shared_ptr<Observer>> liveObservers(std::int32_t pid) const;
  std::function<void()> takeStory(std::int32_t pid);

  Executor& executor_;
  RunLoopService& runLoops_;
  mutable std::mutex mutex_;
  bool isGranted_ = true;
  std::map<std::int32_t, AXError> observerErrors_;
  std::map<std::int32_t, AXError> notificationErrors_;
  std::map<std::int32_t, std::function<void()>> stories_;
  std::vector<std::weak_ptr<Observer>> observers_;
};

}  // namespace platform::simulated
