#include "platform/simulated/RunLoopService.h"

#include <algorithm>

namespace platform::simulated {
namespace {

template <class Sources>
bool contains(const Sources& sources, const CFRunLoopSource& source) {
  return std::ranges::any_of(sources, [&](const auto& each) { return each.get() == &source; });
}

}  // namespace

RunLoopService::RunLoopService(Executor& executor) : executor_(executor) {
  loops_.emplace(std::this_thread::get_id(), main_);
}

bool RunLoopService::performMainSources() {
  std::vector<std::shared_ptr<Source>> sources;
  {
    const std::lock_guard lock(mutex_);
    sources = main_->sources;
  }
  bool performed = false;
  for (const auto& source : sources) {
    // One that acted may have taken out the next.
    if (!isInMainLoop(*source) || !source->isSignalled()) continue;
    source->perform();
    performed = true;
  }
  return performed;
}

bool RunLoopService::isInMainLoop(const CFRunLoopSource& source) const {
  const std::lock_guard lock(mutex_);
  return contains(main_->sources, source);
}

std::size_t RunLoopService::liveSources() const {
  const std::lock_guard lock(mutex_);
  std::size_t count = 0;
  for (const auto& [thread, loop] : loops_) count += loop->sources.size();
  return count;
}

CFRunLoopSourceRef RunLoopService::createSource(const CFMachPortRef& port, int) {
  return sourceOfTap_(port);
}

CFRunLoopRef RunLoopService::current() {
  const std::lock_guard lock(mutex_);
  auto& loop = loops_[std::this_thread::get_id()];
  if (!loop) loop = std::make_shared<Loop>();
  return loop;
}

void RunLoopService::addSource(const CFRunLoopRef& loop, const CFRunLoopSourceRef& source, CFRunLoopMode) {
  const std::lock_guard lock(mutex_);
  auto& sources = static_cast<Loop&>(*loop).sources;
  if (!contains(sources, *source)) sources.push_back(std::static_pointer_cast<Source>(source));
}

void RunLoopService::removeSource(const CFRunLoopRef& loop, const CFRunLoopSourceRef& source, CFRunLoopMode) {
  const std::lock_guard lock(mutex_);
  std::erase(static_cast<Loop&>(*loop).sources, source);
}

void RunLoopService::stop(const CFRunLoopRef& loop) {
  const std::lock_guard lock(mutex_);
  auto& stopped = static_cast<Loop&>(*loop);
  stopped.isStopped = stopped.isRunning;
}

CFRunLoopRunResult RunLoopService::runInMode(CFRunLoopMode, double seconds, bool returnAfterSourceHandled) {
  if (!Worker::current()) failLoudly("CFRunLoopRunInMode is for the threads of dispatch queues and background work");
  const auto loop = std::static_pointer_cast<Loop>(current());
  struct Running {
    Running(std::mutex& m, Loop& l) : mutex(m), loop(l) { set(true); }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() { set(false); }
    void set(bool running) {
      const std::lock_guard lock(mutex);
      loop.isRunning = running;
      loop.isStopped = false;
    }
    std::mutex& mutex;
    Loop& loop;
  } const running(mutex_, *loop);

  // What of the loop its thread waits for besides the time.
  const auto isStoppedOrEmpty = [this, &loop] {
    const std::lock_guard lock(mutex_);
    return loop->isStopped || loop->sources.empty();
  };
  const auto deadline = executor_.uptimeNanoseconds() + static_cast<std::uint64_t>(std::max(seconds, 0.0) * 1e9);
  for (;;) {
    if (executor_.isShutDown()) throw DesktopGone();
    if (isStoppedOrEmpty()) {
      const std::lock_guard lock(mutex_);
      return loop->isStopped ? CFRunLoopRunResult::stopped : CFRunLoopRunResult::finished;
    }
    if (const auto source = signalledSource(*loop)) {
      source->perform();
      if (returnAfterSourceHandled) return CFRunLoopRunResult::handledSource;
    } else if (executor_.uptimeNanoseconds() >= deadline) {
      return CFRunLoopRunResult::timedOut;
    } else {
      executor_.waitUntilOrDeadline([&] { return isStoppedOrEmpty() || signalledSource(*loop) != nullptr; }, deadline);
    }
  }
}

std::shared_ptr<Source> RunLoopService::signalledSource(const Loop& loop) const {
  std::vector<std::shared_ptr<Source>> sources;
  {
    const std::lock_guard lock(mutex_);
    sources = loop.sources;
  }
  const auto found = std::ranges::find_if(sources, &Source::isSignalled);
  return found == sources.end() ? nullptr : *found;
}

}  // namespace platform::simulated
