#include "platform/simulated/Accessibility.h"

#include <string>
#include <utility>

namespace platform::simulated {

class Accessibility::Observer final : public AXObserver, public std::enable_shared_from_this<Observer> {
 public:
  Observer(std::int32_t pid, AXObserverCallback callback, AXError notificationError)
      : pid_(pid), callback_(callback), notificationError_(notificationError) {}

  AXError addNotification(const AXUIElementRef& element, const std::string& notification, void* refcon) override {
    if (notificationError_ != AXError::success) return notificationError_;
    const std::lock_guard lock(mutex_);
    registrations_.push_back({element, notification, refcon});
    return AXError::success;
  }

  CFRunLoopSourceRef runLoopSource() override {
    const std::lock_guard lock(mutex_);
    if (!source_) {
      // The run loop keeps the source, but must not keep the observer.
      source_ = std::make_shared<Source>(
          [weak = weak_from_this()] {
            const auto observer = weak.lock();
            return observer && observer->pendingActivations_ > 0;
          },
          [weak = weak_from_this()] {
            if (const auto observer = weak.lock()) observer->callBack();
          });
    }
    return source_;
  }

  std::int32_t pid() const { return pid_; }
  void signal() { ++pendingActivations_; }
  bool isIn(const RunLoopService& runLoops) const {
    const std::lock_guard lock(mutex_);
    return source_ && runLoops.isInMainLoop(*source_);
  }

 private:
  struct Registration {
    AXUIElementRef element;
    std::string notification;
    void* refcon = nullptr;
  };

  void callBack() {
    --pendingActivations_;
    std::vector<Registration> registrations;
    {
      const std::lock_guard lock(mutex_);
      registrations = registrations_;
    }
    for (const auto& [element, notification, refcon] : registrations) {
      const bool isMeant = element->processIdentifier() == pid_ && notification == kAXApplicationActivatedNotification;
      if (isMeant) callback_(*this, *element, notification, refcon);
    }
  }

  const std::int32_t pid_;
  const AXObserverCallback callback_;
  const AXError notificationError_;
  int pendingActivations_ = 0;  // main thread
  mutable std::mutex mutex_;
  std::vector<Registration> registrations_;
  std::shared_ptr<Source> source_;
};

void Accessibility::grant(bool granted) {
  const std::lock_guard lock(mutex_);
  isGranted_ = granted;
}

void Accessibility::refuseObserver(std::int32_t pid, AXError error) {
  const std::lock_guard lock(mutex_);
  observerErrors_[pid] = error;
}

void Accessibility::refuseNotification(std::int32_t pid, AXError error) {
  const std::lock_guard lock(mutex_);
  notificationErrors_[pid] = error;
}

void Accessibility::announceActivation(std::int32_t pid) {
  executor_.runAsMainThreadWork([this, pid] {
    for (const auto& observer : liveObservers(pid)) observer->signal();
    runLoops_.performMainSources();
  });
}

std::size_t Accessibility::observersOf(std::int32_t pid) const {
  return liveObservers(pid).size();
}

void Accessibility::duringBackgroundRegistration(std::int32_t pid, std::function<void()> story) {
  const std::lock_guard lock(mutex_);
  stories_[pid] = std::move(story);
}

bool Accessibility::isProcessTrusted() {
  const std::lock_guard lock(mutex_);
  return isGranted_;
}

std::variant<AXError, AXObserverRef> Accessibility::createObserver(std::int32_t pid, AXObserverCallback callback) {
  if (!executor_.isMainThread()) {
    if (auto story = takeStory(pid)) executor_.runOnMainThreadMeanwhile(std::move(story));
  }
  const std::lock_guard lock(mutex_);
  if (!isGranted_) return AXError::apiDisabled;
  if (const auto refused = observerErrors_.find(pid); refused != observerErrors_.end()) return refused->second;
  const auto refused = notificationErrors_.find(pid);
  auto observer = std::make_shared<Observer>(pid, callback,
                                             refused == notificationErrors_.end() ? AXError::success : refused->second);
  std::erase_if(observers_, [](const std::weak_ptr<Observer>& each) { return each.expired(); });
  observers_.push_back(observer);
  return AXObserverRef(std::move(observer));
}

std::vector<std::shared_ptr<Accessibility::Observer>> Accessibility::liveObservers(std::int32_t pid) const {
  std::vector<std::shared_ptr<Observer>> live;
  const std::lock_guard lock(mutex_);
  for (const auto& each : observers_) {
    const auto observer = each.lock();
    if (observer && observer->pid() == pid && observer->isIn(runLoops_)) live.push_back(observer);
  }
  return live;
}

std::function<void()> Accessibility::takeStory(std::int32_t pid) {
  const std::lock_guard lock(mutex_);
  const auto found = stories_.find(pid);
  if (found == stories_.end()) return nullptr;
  return std::move(stories_.extract(found).mapped());
}

}  // namespace platform::simulated
