// The way of input events: through the taps, back into the stream, to whoever is in front.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/simulated/SimulatedDesktop.h"

namespace platform::simulated {
namespace {

// A tap on a queue of its own, as the program runs it, with a decision that each test gives.
class TapThread {
 public:
  using Decision = std::function<bool(CGEventType type, CGEvent& event)>;  // true: let it pass

  explicit TapThread(Decision decision)
      : decision_(std::move(decision)), queue_(dispatchQueueCreate("tap", QualityOfService::userInteractive)) {
    constexpr CGEventMask keys = 1 << kCGEventKeyDown | 1 << kCGEventKeyUp;
    port_ = CGEventTapCreate(CGEventTapLocation::hid, CGEventTapPlacement::headInsert, CGEventTapOptions::active, keys,
                             &callBack, this);
    queue_->async([this] {
      loop_ = CFRunLoopGetCurrent();
      CFRunLoopAddSource(loop_, CFMachPortCreateRunLoopSource(kCFAllocatorDefault, port_, 0), kCFRunLoopCommonModes);
      CFRunLoopRunInMode(kCFRunLoopDefaultMode, 3600, false);
    });
  }
  TapThread(const TapThread&) = delete;
  TapThread& operator=(const TapThread&) = delete;
  ~TapThread() { CFRunLoopStop(loop_); }

 private:
  static CGEvent* callBack(CGEventTapProxy, CGEventType type, CGEvent& event, void* userInfo) {
    return static_cast<TapThread*>(userInfo)->decision_(type, event) ? &event : nullptr;
  }

  Decision decision_;
  CFMachPortRef port_;
  CFRunLoopRef loop_;
  std::unique_ptr<DispatchQueue> queue_;  // last: its end waits for the loop
};

struct Input : testing::Test {
  Input() { desktop.activate(editor); }

  SimulatedDesktop desktop;
  NSRunningApplication editor = desktop.launch({.localizedName = "Editor"});
  NSRunningApplication dialog = desktop.launch({.localizedName = "Dialog"});
};

TEST_F(Input, posted_keys_pass_the_tap_again_and_arrive_in_order_before_later_ones) {
  std::vector<std::unique_ptr<CGEvent>> held;
  bool holding = true;
  int seen = 0;
  TapThread tap([&](CGEventType, CGEvent& event) {
    ++seen;
    if (holding) held.push_back(CGEventCreateCopy(event));
    return !holding;
  });
  desktop.type("ab");
  ASSERT_EQ(held.size(), 4U);
  holding = false;
  std::swap(held.front(), held.back());  // posted in whatever order
  for (auto& event : held) CGEventPost(CGEventTapLocation::hid, std::move(event));
  EXPECT_EQ(desktop.eventsUnderWay(), 4U);
  EXPECT_EQ(desktop.textIn(editor), "");
  seen = 0;
  desktop.pressKey('c');
  EXPECT_EQ(seen, 5);
  EXPECT_EQ(desktop.textIn(editor), "abc");
  std::string way;
  for (const auto& record : desktop.inputRecords()) way += record.suppressed ? '-' : record.own ? 'o' : '.';
  EXPECT_EQ(way, "----oooo.");
}

TEST_F(Input, a_tap_sees_the_application_that_its_event_goes_to) {
  std::optional<NSRunningApplication> afterwards;
  TapThread tap([&](CGEventType, CGEvent&) {
    desktop.setFrontmost(dialog);
    afterwards = NSWorkspace::sharedWorkspace().frontmostApplication();
    return true;
  });
  desktop.pressKey('a');
  EXPECT_EQ(afterwards, editor);
  EXPECT_EQ(desktop.textIn(editor), "a");
  EXPECT_EQ(NSWorkspace::sharedWorkspace().frontmostApplication(), dialog);
}

}  // namespace
}  // namespace platform::simulated
