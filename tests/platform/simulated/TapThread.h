// A tap on a queue of its own, as the program runs it, with a decision that each test gives.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

#include "platform/Desktop.h"

namespace platform::simulated {

class TapThread {
 public:
  using Decision = std::function<bool(CGEventType type, CGEvent& event)>;  // true: let it pass
  static constexpr CGEventMask keysAndClicks = 0x2001C0A;

  explicit TapThread(Decision decision, CGEventMask mask = keysAndClicks,
                     CGEventTapOptions options = CGEventTapOptions::active)
      : decision_(std::move(decision)), queue_(dispatchQueueCreate("tap", QualityOfService::userInteractive)) {
    port_ = CGEventTapCreate(CGEventTapLocation::hid, CGEventTapPlacement::headInsert, options, mask, &callBack, this);
    if (!port_) return;
    isRunning_ = true;
    queue_->async([this] {
      source_ = CFMachPortCreateRunLoopSource(kCFAllocatorDefault, port_, 0);
      loop_ = CFRunLoopGetCurrent();
      CFRunLoopAddSource(loop_, source_, kCFRunLoopCommonModes);
      while (isRunning_) lastResult_ = CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1.0, true);
    });
  }
  TapThread(const TapThread&) = delete;
  TapThread& operator=(const TapThread&) = delete;
  ~TapThread() { stop(); }

  void stop() {
    isRunning_ = false;
    if (!loop_) return;
    CFRunLoopRemoveSource(loop_, source_, kCFRunLoopCommonModes);
    CFRunLoopStop(loop_);
    loop_.reset();
    source_.reset();
  }
  void leaveLoop() { isRunning_ = false; }

  const CFMachPortRef& port() const { return port_; }
  DispatchQueue& queue() { return *queue_; }
  CFRunLoopRunResult lastResult() const { return lastResult_; }

 private:
  static CGEvent* callBack(CGEventTapProxy, CGEventType type, CGEvent& event, void* userInfo) {
    return static_cast<TapThread*>(userInfo)->decision_(type, event) ? &event : nullptr;
  }

  Decision decision_;
  std::atomic<bool> isRunning_{false};
  CFMachPortRef port_;
  CFRunLoopSourceRef source_;
  CFRunLoopRef loop_;
  CFRunLoopRunResult lastResult_ = CFRunLoopRunResult::finished;
  std::unique_ptr<DispatchQueue> queue_;  // last: its end waits for the loop
};

}  // namespace platform::simulated
