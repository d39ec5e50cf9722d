#include "platform/linux/keyboard/ActivationDesk.h"

#include <sys/eventfd.h>

#include <cassert>
#include <utility>

namespace platform::linux_desktop {

ActivationDesk::ActivationDesk(TaskServices& tasks) : tasks_(tasks), wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void ActivationDesk::submit(std::optional<Activation> activation, Work release) {
  assert(tasks_.isMainThread());
  {
    const std::lock_guard lock(mutex_);
    if (isOpen_) {
      ++underWay_;
      waiting_.push_back({std::move(activation), [this, release = std::move(release)] {
                            --underWay_;
                            release();
                          }});
      hasWaiting_.store(true, std::memory_order_relaxed);
      eventfd_write(wake_.get(), 1);
      return;
    }
  }
  // One that the tap has sent back already may still be on its way here.
  if (underWay_ > 0) {
    tasks_.runOnMainThread(std::move(release));
  } else {
    release();
  }
}

void ActivationDesk::setLaunchers(std::set<pid_t> launchers) {
  assert(tasks_.isMainThread());
  const std::lock_guard lock(mutex_);
  launchers_ = std::move(launchers);
}

bool ActivationDesk::isLauncher(pid_t process) const {
  const std::lock_guard lock(mutex_);
  return launchers_.contains(process);
}

void ActivationDesk::open() {
  const std::lock_guard lock(mutex_);
  isOpen_ = true;
}

void ActivationDesk::close() {
  // In one step: what is submitted now must not overtake what waits.
  const std::lock_guard lock(mutex_);
  isOpen_ = false;
  for (auto& left : takeAllLocked()) sendBack(std::move(left.release));
}

std::vector<ActivationDesk::Waiting> ActivationDesk::takeAll() {
  if (!hasWaiting_.load(std::memory_order_relaxed)) return {};
  const std::lock_guard lock(mutex_);
  return takeAllLocked();
}

std::vector<ActivationDesk::Waiting> ActivationDesk::takeAllLocked() {
  eventfd_t count = 0;
  eventfd_read(wake_.get(), &count);
  hasWaiting_.store(false, std::memory_order_relaxed);
  return std::exchange(waiting_, {});
}

void ActivationDesk::sendBack(Work release) {
  tasks_.runOnMainThread(std::move(release));
}

}  // namespace platform::linux_desktop
