// Keyboard and mouse: the way of every event from the device, or the program, through the taps to an application.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <tuple>
#include <vector>

#include "platform/Desktop.h"
#include "platform/simulated/Executor.h"
#include "platform/simulated/InputEvent.h"
#include "platform/simulated/RunLoopService.h"
#include "platform/simulated/SimulatedDesktop.h"
#include "platform/simulated/Workspace.h"

namespace platform::simulated {

// One event is under way at a time: it is offered to one tap after the other, and goes where the keys go when the first
// of them sees it. The next one starts when it has arrived or was suppressed.
class InputStream final : public EventServices {
 public:
  InputStream(Executor& executor, RunLoopService& runLoops, Workspace& workspace)
      : executor_(executor), runLoops_(runLoops), workspace_(workspace) {}

  // The verbs of SimulatedDesktop.
  void send(CGEventType type, char key);
  void send(CGEventType type, CGEventFlags flags, CGPoint location);
  void setFlags(CGEventFlags flags) { flags_ = flags; }
  void setLocation(CGPoint location) { location_ = location; }
  void makeEventsUncopyable(bool uncopyable) { areEventsCopyable_ = !uncopyable; }
  const std::vector<InputRecord>& records() const { return records_; }

  void grantInputMonitoring(bool granted) { isInputMonitoringGranted_ = granted; }
  void allowActiveTaps(bool allow) { areActiveTapsAllowed_ = allow; }
  void disableTaps(CGEventType notice);
  std::size_t liveTaps() const;

  // Main thread. Takes the event under way one step further, or the next one under way; false if it waits for a tap's
  // thread, or there is none.
  bool move();
  // Main thread. Passes over a tap for whose event no thread comes, because nobody runs its run loop.
  bool passOverStuckTap();

  std::shared_ptr<Source> sourceOf(const CFMachPortRef& port);

  // EventServices
  CFMachPortRef createTap(CGEventTapLocation location, CGEventTapPlacement placement, CGEventTapOptions options,
                          CGEventMask mask, CGEventTapCallBack callback, void* userInfo) override;
  void post(CGEventTapLocation location, std::unique_ptr<CGEvent> event) override;

 private:
  class Tap;

  // An event's place: by when the person made it, copies where their originals were.
  struct Place {
    std::uint64_t origin = 0;
    std::uint64_t sequence = 0;

    friend bool operator<(const Place& a, const Place& b) {
      return std::tie(a.origin, a.sequence) < std::tie(b.origin, b.sequence);
    }
  };
  struct Waiting {
    std::unique_ptr<InputEvent> event;
    std::shared_ptr<Tap> noticeFor;  // a notice's only receiver
  };
  struct UnderWay {
    std::unique_ptr<InputEvent> event;
    bool isNotice = false;
    std::vector<std::weak_ptr<Tap>> tapsToAsk;
    std::weak_ptr<Tap> offeredTo;
    bool isInCallback = false;
    bool hasDestination = false;
    std::optional<NSRunningApplication> destination;
  };

  void send(InputEvent::Contents contents);
  void enqueue(std::unique_ptr<InputEvent> event, std::shared_ptr<Tap> noticeFor);
  void takeNext();
  bool canOffer(const std::shared_ptr<Tap>& tap) const;
  bool isOfferedTo(const std::weak_ptr<Tap>& tap) const;
  // The thread of the tap's run loop.
  void callTap(const std::weak_ptr<Tap>& tap);
  void fixDestination();
  void end(bool suppressed);

  Executor& executor_;
  RunLoopService& runLoops_;
  Workspace& workspace_;

  std::atomic<bool> isInputMonitoringGranted_{true};
  std::atomic<bool> areActiveTapsAllowed_{true};
  std::atomic<std::uint64_t> lastSequence_{0};
  bool areEventsCopyable_ = true;
  CGEventFlags flags_ = 0;
  CGPoint location_;

  mutable std::mutex mutex_;  // guards taps_ and waiting_; what follows belongs to whoever has the turn
  std::vector<std::weak_ptr<Tap>> taps_;
  std::map<Place, Waiting> waiting_;
  std::unique_ptr<UnderWay> underWay_;
  std::vector<InputRecord> records_;
};

}  // namespace platform::simulated
