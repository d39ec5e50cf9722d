// Run loops whose threads take turns, and the sources in them.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/Desktop.h"
#include "platform/simulated/Executor.h"

namespace platform::simulated {

// Something that can act in a run loop. Its functions are for the thread of that loop.
class Source final : public CFRunLoopSource {
 public:
  Source(Condition isSignalled, std::function<void()> perform)
      : isSignalled_(std::move(isSignalled)), perform_(std::move(perform)) {}

  bool isSignalled() const { return isSignalled_(); }
  void perform() const { perform_(); }

 private:
  Condition isSignalled_;
  std::function<void()> perform_;
};

class RunLoopService final : public RunLoops {
 public:
  // Makes the source of a tap.
  using SourceOfTap = std::function<std::shared_ptr<Source>(const CFMachPortRef&)>;

  explicit RunLoopService(Executor& executor);
  void setSourceOfTap(SourceOfTap sourceOfTap) { sourceOfTap_ = std::move(sourceOfTap); }

  // Main thread. Lets every signalled source of the main run loop act once; false if there was none.
  bool performMainSources();
  bool isInMainLoop(const CFRunLoopSource& source) const;
  std::size_t liveSources() const;

  // RunLoops
  CFRunLoopSourceRef createSource(const CFMachPortRef& port, int order) override;
  CFRunLoopRef current() override;
  CFRunLoopRef main() override { return main_; }
  void addSource(const CFRunLoopRef& loop, const CFRunLoopSourceRef& source, CFRunLoopMode mode) override;
  void removeSource(const CFRunLoopRef& loop, const CFRunLoopSourceRef& source, CFRunLoopMode mode) override;
  void stop(const CFRunLoopRef& loop) override;
  CFRunLoopRunResult runInMode(CFRunLoopMode mode, double seconds, bool returnAfterSourceHandled) override;

 private:
  // Its members are guarded by the service's mutex.
  struct Loop final : CFRunLoop {
    std::vector<std::shared_ptr<Source>> sources;
    bool isRunning = false;
    bool isStopped = false;
  };

  std::shared_ptr<Source> signalledSource(const Loop& loop) const;

  Executor& executor_;
  SourceOfTap sourceOfTap_;
  mutable std::mutex mutex_;
  const std::shared_ptr<Loop> main_ = std::make_shared<Loop>();
  std::map<std::thread::id, std::shared_ptr<Loop>> loops_;
};

}  // namespace platform::simulated
