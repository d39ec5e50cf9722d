// The way of input events: through the taps, back into the stream, to whoever is in front.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "TapThread.h"
#include "platform/simulated/SimulatedDesktop.h"

namespace platform::simulated {
namespace {

using namespace std::chrono_literals;

struct Input : testing::Test {
  // A tap that holds copies of the keys back while `holding`.
  TapThread::Decision holdBack() {
    return [this](CGEventType type, CGEvent& event) {
      seen += '.';
      if (!holding || type == kCGEventLeftMouseDown) return true;
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

TEST_F(Input, without_a_tap_keys_reach_the_application_in_front_or_nobody) {
  desktop.pressKey('x');
  desktop.setFrontmost(editor);
  desktop.type("ab");
  desktop.activate(dialog);
  desktop.type("c");
  EXPECT_EQ(desktop.textIn(editor), "ab");
  EXPECT_EQ(desktop.textIn(dialog), "c");
  EXPECT_EQ(desktop.inputRecords().front().application, std::nullopt);
  EXPECT_EQ(desktop.inputRecords().size(), 7U);
}

TEST_F(Input, what_a_tap_drops_reaches_nobody_and_what_it_may_not_see_passes) {
  desktop.activate(editor);
  TapThread tap(holdBack());
  holding = true;
  desktop.type("ab");
  EXPECT_EQ(desktop.suppressedEvents(), 4U);
  EXPECT_TRUE(desktop.inputDeliveredTo(editor).empty());
  desktop.sendEvent(2);  // a button is released: outside of the mask
  EXPECT_EQ(seen.size(), 4U);
  EXPECT_EQ(desktop.inputDeliveredTo(editor).size(), 1U);
}

TEST_F(Input, events_carry_modifiers_and_place_to_tap_and_application) {
  desktop.activate(editor);
  std::vector<std::pair<CGEventFlags, double>> inTap;
  TapThread tap([&](CGEventType, CGEvent& event) {
    inTap.emplace_back(CGEventGetFlags(event), CGEventGetLocation(event).y);
    EXPECT_FALSE(isMainThread());
    return true;
  });
  desktop.clickMouse({3, 40}, kCGEventRightMouseDown);
  desktop.changeFlags(kCGEventFlagMaskCommand);
  desktop.pressKey('q');
  EXPECT_EQ(inTap, (std::vector<std::pair<CGEventFlags, double>>{
                       {0, 40}, {kCGEventFlagMaskCommand, 40}, {kCGEventFlagMaskCommand, 40}}));
  const auto key = desktop.inputDeliveredTo(editor).back();
  EXPECT_EQ(key.type, kCGEventKeyDown);
  EXPECT_EQ(key.key, 'q');
  EXPECT_EQ(key.flags, kCGEventFlagMaskCommand);
}

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

TEST_F(Input, an_input_verb_runs_nothing_of_the_main_thread) {
  TapThread tap([&](CGEventType, CGEvent&) {
    seen += 't';
    runOnMainThread([&] { seen += 'm'; });
    return true;
  });
  desktop.type("a");
  EXPECT_EQ(seen, "tt");
  desktop.settle();
  EXPECT_EQ(seen, "ttmm");
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

TEST_F(Input, a_tap_whose_thread_has_left_its_loop_is_passed_over) {
  desktop.activate(editor);
  TapThread tap(holdBack());
  holding = true;
  desktop.settle();
  tap.leaveLoop();
  desktop.advance(1s);
  desktop.pressKey('a');
  EXPECT_EQ(desktop.textIn(editor), "a");
}

TEST_F(Input, a_listening_tap_cannot_drop_and_the_head_of_the_chain_comes_first) {
  desktop.activate(editor);
  std::string order;
  const auto drop = [&order](char name) {
    return [&order, name](CGEventType, CGEvent&) {
      order += name;
      return false;
    };
  };
  TapThread earlier(drop('1'), TapThread::keysAndClicks, CGEventTapOptions::active);
  TapThread later(drop('2'), TapThread::keysAndClicks, CGEventTapOptions::listenOnly);
  desktop.pressKey('a');
  EXPECT_EQ(order, "21");
  EXPECT_EQ(desktop.textIn(editor), "");
}

TEST_F(Input, a_tap_needs_its_permissions) {
  const auto canCreate = [](CGEventTapOptions options) {
    return CGEventTapCreate(
               CGEventTapLocation::session, CGEventTapPlacement::headInsert, options, 1 << kCGEventKeyDown,
               [](CGEventTapProxy, CGEventType, CGEvent& event, void*) { return &event; }, nullptr) != nullptr;
  };
  using enum CGEventTapOptions;
  EXPECT_TRUE(canCreate(active) && canCreate(listenOnly));
  desktop.grantAccessibility(false);
  EXPECT_TRUE(!canCreate(active) && canCreate(listenOnly));
  desktop.grantAccessibility();
  desktop.grantInputMonitoring(false);
  EXPECT_TRUE(!canCreate(active) && !canCreate(listenOnly));
  desktop.grantInputMonitoring();
  desktop.refuseTaps();
  EXPECT_TRUE(!canCreate(active) && !canCreate(listenOnly));
  EXPECT_EQ(desktop.liveTaps(), 0U);
}

TEST_F(Input, the_system_disables_a_tap_and_tells_it_so) {
  desktop.activate(editor);
  std::vector<CGEventType> types;
  TapThread tap([&](CGEventType type, CGEvent&) {
    types.push_back(type);
    return type == kCGEventTapDisabledByTimeout;
  });
  desktop.disableTapBySystem(kCGEventTapDisabledByTimeout);
  EXPECT_FALSE(CGEventTapIsEnabled(tap.port()));
  desktop.pressKey('a');
  EXPECT_EQ(types, std::vector<CGEventType>{kCGEventTapDisabledByTimeout});
  EXPECT_EQ(desktop.textIn(editor), "a");
  EXPECT_EQ(desktop.inputRecords().size(), 1U);
}

TEST_F(Input, events_may_refuse_to_be_copied_and_the_desktop_to_take_posts) {
  desktop.activate(editor);
  TapThread tap(holdBack());
  holding = true;
  desktop.makeEventsUncopyable();
  desktop.pressKey('a');
  EXPECT_TRUE(held.empty());
  desktop.makeEventsUncopyable(false);
  desktop.pressKey('b');
  ASSERT_EQ(held.size(), 1U);
  holding = false;
  desktop.dropPostedEvents();
  postHeld();
  desktop.settle();
  EXPECT_EQ(desktop.textIn(editor), "");
}

}  // namespace
}  // namespace platform::simulated
