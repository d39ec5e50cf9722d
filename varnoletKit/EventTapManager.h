// The system-wide keyboard and mouse tap, on a thread of its own.
#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <mutex>

#include "platform/CFRunLoop.h"
#include "platform/CGEvent.h"
#include "platform/Tasks.h"
#include "varnoletKit/EventTapDelegate.h"

namespace varnoletKit {

// What the tap's callback is given.
struct EventTapContext {
  std::weak_ptr<EventTapDelegate> delegate;
};

// Main thread, apart from the callback. Destroying the manager stops the tap.
class EventTapManager {
 public:
  static constexpr std::array<platform::CGEventType, 6> monitoredEventTypes{
      platform::kCGEventKeyDown,       platform::kCGEventKeyUp,          platform::kCGEventFlagsChanged,
      platform::kCGEventLeftMouseDown, platform::kCGEventRightMouseDown, platform::kCGEventOtherMouseDown,
  };

  explicit EventTapManager(std::weak_ptr<EventTapDelegate> delegate);
  EventTapManager(const EventTapManager&) = delete;
  EventTapManager& operator=(const EventTapManager&) = delete;
  ~EventTapManager();

  // Whether a tap exists afterwards: false without the permission for it. Nothing tries again by itself.
  bool start();
  // Returns 0.1 seconds later, which lets the tap's thread leave its loop. Harmless without a tap.
  void stop();

  // Enables a tap that the system has disabled; no effect otherwise.
  void reenable();
  // False without a tap, and while the system has it disabled.
  bool isActive() const;

  // The tap's callback, on the tap's thread. `userInfo` is an EventTapContext.
  static platform::CGEvent* eventTapCallback(platform::CGEventTapProxy proxy, platform::CGEventType type,
                                             platform::CGEvent& event, void* userInfo);

 private:
  // What the manager shares with the thread that runs the tap.
  struct Tap {
    // Makes setting the loop up and tearing it down exclude each other, so that no loop starts after its teardown.
    std::mutex mutex;
    platform::CFMachPortRef machPort;
    platform::CFRunLoopSourceRef runLoopSource;
    platform::CFRunLoopRef runLoop;
    // True while the tap's thread is inside its loop. Cleared by the teardown, which ends the loop.
    std::atomic<bool> isRunning{false};
  };

  platform::CFMachPortRef machPort() const;
  bool createTap();
  static void runLoop(Tap& tap);
  void tearDown();

  std::unique_ptr<platform::DispatchQueue> queue_;
  std::shared_ptr<Tap> tap_;
  EventTapContext context_;
};

}  // namespace varnoletKit
