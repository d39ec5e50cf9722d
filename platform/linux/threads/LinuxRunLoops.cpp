#include "platform/linux/threads/LinuxRunLoops.h"

#include <sys/eventfd.h>

#include <algorithm>
#include <atomic>
#include <cassert>
#include <mutex>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/base/MainLoopSource.h"

namespace platform::linux_desktop {
namespace {

using Clock = PolledSource::Clock;

class ThreadLoop final : public CFRunLoop {
 public:
  ThreadLoop() : wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

  void add(const std::shared_ptr<PolledSource>& source) {
    {
      const std::lock_guard lock(mutex_);
      sources_.push_back(source);
    }
    wake();
  }

  void remove(const CFRunLoopSourceRef& source) {
    const std::lock_guard lock(mutex_);
    sources_.erase(std::remove(sources_.begin(), sources_.end(), source), sources_.end());
  }

  // Of no effect on runs to come.
  void stop() {
    auto state = State::running;
    if (state_.compare_exchange_strong(state, State::stopped)) wake();
  }

  CFRunLoopRunResult run(Clock::time_point end, bool returnAfterSourceHandled) {
    state_ = State::running;
    const auto result = runUntilOver(end, returnAfterSourceHandled);
    state_ = State::idle;
    return result;
  }

 private:
  enum class State { idle, running, stopped };

  CFRunLoopRunResult runUntilOver(Clock::time_point end, bool returnAfterSourceHandled) {
    for (;;) {
      if (state_ == State::stopped) return CFRunLoopRunResult::stopped;
      const auto sources = snapshot();
      if (sources.empty()) return CFRunLoopRunResult::finished;
      bool hasHandled = false;
      for (const auto& source : sources) hasHandled = source->perform() || hasHandled;
      if (hasHandled) {
        if (returnAfterSourceHandled) return CFRunLoopRunResult::handledSource;
        continue;
      }
      if (Clock::now() >= end) return CFRunLoopRunResult::timedOut;
      wait(sources, end);
    }
  }

  void wake() { eventfd_write(wake_.get(), 1); }

  std::vector<std::shared_ptr<PolledSource>> snapshot() {
    const std::lock_guard lock(mutex_);
    return sources_;
  }

  void wait(const std::vector<std::shared_ptr<PolledSource>>& sources, Clock::time_point end) {
    descriptors_.assign(1, {wake_.get(), POLLIN, 0});
    for (const auto& source : sources) {
      source->addPollDescriptors(descriptors_);
      if (const auto deadline = source->deadline()) end = std::min(end, *deadline);
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    poll(descriptors_.data(), descriptors_.size(), static_cast<int>(std::max<std::int64_t>(0, left.count())));
    if (descriptors_.front().revents != 0) {
      eventfd_t count = 0;
      eventfd_read(wake_.get(), &count);
    }
  }

  FileDescriptor wake_;
  std::atomic<State> state_ = State::idle;
  std::mutex mutex_;
  std::vector<std::shared_ptr<PolledSource>> sources_;
  std::vector<pollfd> descriptors_;  // of run(), kept so that waiting does not allocate
};

}  // namespace

CFRunLoopSourceRef LinuxRunLoops::createSource(const CFMachPortRef& port, int) {
  const auto polled = std::dynamic_pointer_cast<PolledPort>(port);
  return polled ? polled->createSource() : nullptr;
}

CFRunLoopRef LinuxRunLoops::current() {
  if (isMainThread()) return main_;
  thread_local const CFRunLoopRef loop = std::make_shared<ThreadLoop>();
  return loop;
}

void LinuxRunLoops::addSource(const CFRunLoopRef& loop, const CFRunLoopSourceRef& source, CFRunLoopMode) {
  if (loop == main_) {
    if (const auto mainSource = std::dynamic_pointer_cast<MainLoopSource>(source)) mainSource->attach();
  } else if (const auto polled = std::dynamic_pointer_cast<PolledSource>(source)) {
    static_cast<ThreadLoop&>(*loop).add(polled);
  }
}

void LinuxRunLoops::removeSource(const CFRunLoopRef& loop, const CFRunLoopSourceRef& source, CFRunLoopMode) {
  if (loop == main_) {
    if (const auto mainSource = std::dynamic_pointer_cast<MainLoopSource>(source)) mainSource->detach();
  } else {
    static_cast<ThreadLoop&>(*loop).remove(source);
  }
}

void LinuxRunLoops::stop(const CFRunLoopRef& loop) {
  if (loop != main_) static_cast<ThreadLoop&>(*loop).stop();
}

CFRunLoopRunResult LinuxRunLoops::runInMode(CFRunLoopMode, double seconds, bool returnAfterSourceHandled) {
  assert(!isMainThread());
  const auto length = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  return static_cast<ThreadLoop&>(*current()).run(Clock::now() + length, returnAfterSourceHandled);
}

}  // namespace platform::linux_desktop
