#include "platform/linux/threads/WorkerThreads.h"

#include <pthread.h>

#include <algorithm>
#include <cassert>

#include "platform/linux/threads/ThreadPriority.h"

namespace platform::linux_desktop {

void nameThisThread(const std::string& name) {
  constexpr std::size_t longestName = 15;
  pthread_setname_np(pthread_self(), name.substr(0, longestName).c_str());
}

WorkerThreads::WorkerThreads(const std::string& name, std::size_t count) {
  threads_.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    threads_.emplace_back([this, name] {
      nameThisThread(name);
      run();
    });
  }
}

void WorkerThreads::finish() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_all();
  for (auto& thread : threads_) thread.join();
  threads_.clear();
}

void WorkerThreads::add(Work work) {
  {
    const std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(work));
  }
  changed_.notify_one();
}

bool WorkerThreads::isCurrent() const {
  return std::any_of(threads_.begin(), threads_.end(),
                     [](const std::thread& thread) { return thread.get_id() == std::this_thread::get_id(); });
}

void WorkerThreads::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return ending_ || !waiting_.empty(); });
    if (waiting_.empty()) return;
    Work work = std::move(waiting_.front());
    waiting_.pop_front();
    lock.unlock();
    work();
    work = nullptr;  // what it holds may take locks when it goes
    lock.lock();
  }
}

SerialQueue::SerialQueue(const std::string& label, QualityOfService quality)
    : thread_(label.substr(label.rfind('.') + 1), 1) {
  if (quality == QualityOfService::userInteractive) async(raisePriorityOfThisThread);
}

void SerialQueue::sync(const Work& work) {
  assert(!thread_.isCurrent());
  std::mutex mutex;
  std::condition_variable changed;
  bool done = false;
  thread_.add([&] {
    work();
    // Notified under the lock, because the waiting thread destroys both as soon as it gets it.
    const std::lock_guard lock(mutex);
    done = true;
    changed.notify_one();
  });
  std::unique_lock lock(mutex);
  changed.wait(lock, [&] { return done; });
}

void SerialQueue::async(Work work) {
  thread_.add(std::move(work));
}

}  // namespace platform::linux_desktop
