#include "platform/NSNotificationCenter.h"

#include <vector>

#include "platform/Tasks.h"

namespace platform {

NSNotificationCenter::ObserverToken NSNotificationCenter::addObserverForName(std::string name, NSOperationQueue queue,
                                                                             Block block) {
  const std::lock_guard lock(mutex_);
  const ObserverToken token{++lastToken_};
  observers_.emplace(token, Observer{std::move(name), queue, std::make_shared<const Block>(std::move(block))});
  return token;
}

void NSNotificationCenter::removeObserver(ObserverToken token) {
  const std::lock_guard lock(mutex_);
  observers_.erase(token);
}

void NSNotificationCenter::postNotification(const NSNotification& notification) {
  std::vector<std::pair<ObserverToken, NSOperationQueue>> receivers;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [token, observer] : observers_) {
      if (observer.name == notification.name) receivers.emplace_back(token, observer.queue);
    }
  }
  for (const auto& [token, queue] : receivers) {
    if (queue == NSOperationQueue::poster || isMainThread()) {
      deliver(token, notification);
    } else {
      runOnMainThread([this, token = token, notification] { deliver(token, notification); });
    }
  }
}

// Looks the observer up again, because an earlier receiver may have removed it.
void NSNotificationCenter::deliver(ObserverToken token, const NSNotification& notification) {
  std::shared_ptr<const Block> block;
  {
    const std::lock_guard lock(mutex_);
    const auto found = observers_.find(token);
    if (found == observers_.end()) return;
    block = found->second.block;
  }
  (*block)(notification);
}

}  // namespace platform
