// Run loops of threads that wait for file descriptors; the main thread's belongs to Qt.
#pragma once

#include <poll.h>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

#include "platform/Desktop.h"

namespace platform::linux_desktop {

// A source for a thread's own loop. All but its creation and destruction happens on the loop's thread.
class PolledSource : public CFRunLoopSource {
 public:
  using Clock = std::chrono::steady_clock;
  virtual void addPollDescriptors(std::vector<pollfd>& descriptors) = 0;
  // When perform() wants to be called even if nothing becomes readable; absent for never.
  virtual std::optional<Clock::time_point> deadline() = 0;
  // Does one piece of work without waiting; false if there was none.
  virtual bool perform() = 0;
};

// A port whose source is polled.
class PolledPort : public CFMachPort {
 public:
  // Absent where it has nothing to tell.
  virtual CFRunLoopSourceRef createSource() const = 0;
};

class LinuxRunLoops final : public RunLoops {
 public:
  CFRunLoopSourceRef createSource(const CFMachPortRef& port, int order) override;
  CFRunLoopRef current() override;
  CFRunLoopRef main() override { return main_; }
  // A thread's loop takes PolledSources, the main one takes MainLoopSources.
  void addSource(const CFRunLoopRef& loop, const CFRunLoopSourceRef& source, CFRunLoopMode mode) override;
  void removeSource(const CFRunLoopRef& loop, const CFRunLoopSourceRef& source, CFRunLoopMode mode) override;
  void stop(const CFRunLoopRef& loop) override;
  CFRunLoopRunResult runInMode(CFRunLoopMode mode, double seconds, bool returnAfterSourceHandled) override;

 private:
  CFRunLoopRef main_ = std::make_shared<CFRunLoop>();
};

}  // namespace platform::linux_desktop
