#include "platform/linux/threads/MainThreadQueue.h"

#include <sys/eventfd.h>

#include <cstdio>
#include <cstdlib>

namespace platform::linux_desktop {
namespace {

FileDescriptor makeEventDescriptor() {
  FileDescriptor descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!descriptor.isOpen()) {
    std::perror("eventfd");
    std::abort();
  }
  return descriptor;
}

}  // namespace

MainThreadQueue::MainThreadQueue() : wakeUp_(makeEventDescriptor()), notifier_(wakeUp_.get(), QSocketNotifier::Read) {
  QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_, [this] { doWaitingWork(); });
}

void MainThreadQueue::add(Work work) {
  const std::lock_guard lock(mutex_);
  waiting_.push_back(std::move(work));
  if (waiting_.size() == 1) eventfd_write(wakeUp_.get(), 1);
}

// Does what waits now; what is added meanwhile waits for the next turn, so that other events get theirs.
void MainThreadQueue::doWaitingWork() {
  std::size_t count = 0;
  {
    const std::lock_guard lock(mutex_);
    count = waiting_.size();
  }
  for (; count > 0; --count) {
    const Work work = takeFirst();
    if (!work) return;  // a nested event loop was faster
    work();
  }
}

Work MainThreadQueue::takeFirst() {
  const std::lock_guard lock(mutex_);
  if (waiting_.empty()) return nullptr;
  Work work = std::move(waiting_.front());
  waiting_.pop_front();
  if (waiting_.empty()) noneWaits();
  return work;
}

bool MainThreadQueue::dropWaiting() {
  std::deque<Work> dropped;  // destroyed without the lock: what it holds may add work when it goes
  const std::lock_guard lock(mutex_);
  if (waiting_.empty()) return false;
  dropped.swap(waiting_);
  noneWaits();
  return true;
}

void MainThreadQueue::noneWaits() {
  eventfd_t discarded = 0;
  eventfd_read(wakeUp_.get(), &discarded);
}

}  // namespace platform::linux_desktop
