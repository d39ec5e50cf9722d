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
      source_ = CFMachPortCreateRunLoopSource(kCFAllocatorDefault, port_, 0);
      loop_ = CFRunLoopGetCurrent();
      CFRunLoopAddSource(loop_, source_, kCFRunLoopCommonModes);
      CFRunLoopRunInMode(kCFRunLoopDefaultMode, 3600, false);
    });
  }
  TapThread(const TapThread&) = delete;
  TapThread& operator=(const TapThread&) = delete;
  ~TapThread() { stop(); }

  void stop() {
    if (!loop_) return;
    CFRunLoopRemoveSource(loop_, source_, kCFRunLoopCommonModes);
    CFRunLoopStop(loop_);
    loop_.reset();
    source_.reset();
  }
  const CFMachPortRef& port() const { return port_; }

 private:
  static CGEvent* callBack(CGEventTapProxy, CGEventType type, CGEvent& event, void* userInfo) {
    return static_cast<TapThread*>(userInfo)->decision_(type, event) ? &event : nullptr;
  }

  Decision decision_;
  CFMachPortRef port_;
  CFRunLoopSourceRef source_;
  CFRunLoopRef loop_;
  std::unique_ptr<DispatchQueue> queue_;  // last: its end waits for the loop
};

struct Input : testing::Test {
  // A tap that holds copies of the keys back while `holding`.
  TapThread::Decision holdBack() {
    return [this](CGEventType, CGEvent& event) {
      seen += '.';
      if (!holding) return true;
      if (auto copy = CGEventCreateCopy(event)) held.push_back(std::move(copy));
      return false;
    };
  }
  void postHeld() {
    for (auto& event : std::exchange(held, {})) CGEventPost(CGEventTapLocation::hid, std::move(event));
  }

  SimulatedDesktop desktop;
  NSRunningApplication editor = desktop.launch({.localizedName = "Editor"});
  NSRunningApplication dialog = desktop.launch({.localizedName = "Dialog"});
  std::vector<std::unique_ptr<CGEvent>> held;
  bool holding = false;
  std::string seen;
};

TEST_F(Input, posted_keys_pass_the_tap_again_and_arrive_in_order_before_later_ones) {
  desktop.activate(editor);
  TapThread tap(holdBack());
  holding = true;
  desktop.type("ab");
  holding = false;
  std::swap(held.front(), held.back());  // posted in whatever order
  postHeld();
  EXPECT_EQ(desktop.eventsUnderWay(), 4U);
  EXPECT_EQ(desktop.textIn(editor), "");
  seen.clear();
  desktop.pressKey('c');
  EXPECT_EQ(seen, ".....");
  EXPECT_EQ(desktop.textIn(editor), "abc");
  std::string way;
  for (const auto& record : desktop.inputRecords()) way += record.suppressed ? '-' : record.own ? 'o' : '.';
  EXPECT_EQ(way, "----oooo.");
}

TEST_F(Input, a_tap_sees_the_application_that_its_event_goes_to) {
  desktop.activate(editor);
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

TEST_F(Input, a_disabled_stopped_or_released_tap_holds_nothing_back) {
  desktop.activate(editor);
  {
    TapThread tap(holdBack());
    holding = true;
    desktop.pressKey('a');
    CGEventTapEnable(tap.port(), false);
    desktop.pressKey('b');
    CGEventTapEnable(tap.port(), true);
    desktop.pressKey('c');
    EXPECT_EQ(desktop.liveRunLoopSources(), 1U);
    tap.stop();
    desktop.pressKey('d');
    EXPECT_EQ(desktop.liveTaps(), 1U);
  }
  desktop.pressKey('e');
  EXPECT_EQ(desktop.textIn(editor), "bde");
  EXPECT_EQ(desktop.liveTaps(), 0U);
  EXPECT_EQ(desktop.liveRunLoopSources(), 0U);
}

}  // namespace
}  // namespace platform::simulated
