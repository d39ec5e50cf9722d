#include <limits>

#include "GuardDoubles.h"
#include "varnoletKit/GestureDetector.h"

namespace varnoletKit {
namespace {

using platform::dateNow;
using platform::kCGEventFlagMaskCommand;

constexpr platform::CGEventType anyOtherType = 100;

class GestureDetectorTest : public ::testing::Test {
 protected:
  void click(std::chrono::milliseconds ago = 0ms) {
    detector_.recordEvent(platform::kCGEventLeftMouseDown, 0, 0, dateNow() - ago);
  }
  std::vector<LogLine> logOfAsking(std::int64_t windowMs, bool expected) {
    desktop_.clearLog();
    EXPECT_EQ(detector_.hasRecentUserGesture(windowMs), expected);
    return desktop_.logLines();
  }
  static LogLine line(std::string message) { return debugLine(LogCategory::gesture, std::move(message)); }

  SimulatedDesktop desktop_;
  GestureDetector detector_{64};
};

TEST_F(GestureDetectorTest, OnlyMouseButtonsAndCommandKeysGoingDownAreGestures) {
  struct Case {
    platform::CGEventType type;
    platform::CGEventFlags flags;
    bool isGesture;
  };
  constexpr platform::CGEventFlags allButCommand =
      platform::kCGEventFlagMaskShift | platform::kCGEventFlagMaskControl | platform::kCGEventFlagMaskAlternate;
  for (const auto& [type, flags, isGesture] : std::initializer_list<Case>{
           {1, 0, true},
           {3, allButCommand, true},
           {25, 0, true},
           {10, 0x100000, true},
           {10, 0x100000 | allButCommand, true},
           {10, 0, false},
           {10, allButCommand, false},
           {11, kCGEventFlagMaskCommand, false},
           {12, kCGEventFlagMaskCommand, false},
           {2, kCGEventFlagMaskCommand, false},
           {22, kCGEventFlagMaskCommand, false},
       }) {
    GestureDetector detector(64);
    detector.recordEvent(type, flags, 17.5, dateNow());
    EXPECT_EQ(detector.hasRecentUserGesture(500), isGesture) << "type " << type << ", flags " << flags;
  }
}

TEST_F(GestureDetectorTest, WithoutAnyEventThereIsNoGestureInAnyWindow) {
  EXPECT_THAT(logOfAsking(500, false), ElementsAre(line("=== hasRecentUserGesture: windowMs=500, buffer count=0"),
                                                   line("=== Result: NOT FOUND (scanned 0 events)")));
  EXPECT_FALSE(detector_.hasRecentUserGesture(std::numeric_limits<std::int64_t>::max()));
}

TEST_F(GestureDetectorTest, AGestureCountsUpToTheEdgeOfTheWindow) {
  click();
  EXPECT_EQ(desktop_.timesLogged("📝 recordEvent: type=1 → QUALIFYING GESTURE"), 1u);
  desktop_.advance(500ms);
  EXPECT_THAT(logOfAsking(500, true),
              ElementsAre(line("=== hasRecentUserGesture: FAST PATH hit — qualifying gesture 500ms ago")));
  desktop_.advance(1ns);
  EXPECT_THAT(logOfAsking(500, false), ElementsAre(line("=== hasRecentUserGesture: windowMs=500, buffer count=1"),
                                                   line("  Entry[0]: type=1, age=500ms, isGesture=true"),
                                                   line("  Entry too old (age 500ms > window 500ms), stopping scan"),
                                                   line("=== Result: NOT FOUND (scanned 1 events)")));
}

TEST_F(GestureDetectorTest, WindowsOfAnySizeAreAnswered) {
  click(24h * 365);
  EXPECT_TRUE(detector_.hasRecentUserGesture(std::numeric_limits<std::int64_t>::max()));
  EXPECT_FALSE(detector_.hasRecentUserGesture(0));
  EXPECT_FALSE(detector_.hasRecentUserGesture(std::numeric_limits<std::int64_t>::min()));
}

TEST_F(GestureDetectorTest, TheScanGoesFromTheNewestEventToTheFirstOneOutsideTheWindow) {
  click(300ms);
  detector_.recordEvent(platform::kCGEventKeyDown, 0, 0, dateNow() - 150ms);
  detector_.recordEvent(platform::kCGEventKeyUp, 0, 0, dateNow() - 50ms);
  EXPECT_THAT(logOfAsking(200, false), ElementsAre(line("=== hasRecentUserGesture: windowMs=200, buffer count=3"),
                                                   line("  Entry[0]: type=11, age=50ms, isGesture=false"),
                                                   line("  Entry[1]: type=10, age=150ms, isGesture=false"),
                                                   line("  Entry[2]: type=1, age=300ms, isGesture=true"),
                                                   line("  Entry too old (age 300ms > window 200ms), stopping scan"),
                                                   line("=== Result: NOT FOUND (scanned 3 events)")));
}

TEST_F(GestureDetectorTest, TheRingKeepsTheNewestEventsAndAtLeastEight) {
  for (const auto& [requested, capacity] : {std::pair{0, 8}, {5, 8}, {8, 8}, {9, 9}, {64, 64}}) {
    GestureDetector detector(requested);
    for (int i = 0; i <= capacity; ++i) {
      detector.recordEvent(anyOtherType + static_cast<platform::CGEventType>(i), 0, 0, dateNow());
    }
    desktop_.clearLog();
    EXPECT_FALSE(detector.hasRecentUserGesture(500));
    const auto log = desktop_.logMessages(LogCategory::gesture);
    ASSERT_EQ(log.size(), static_cast<std::size_t>(capacity) + 2) << "requested " << requested;
    EXPECT_EQ(log[1], "  Entry[0]: type=" + std::to_string(100 + capacity) + ", age=0ms, isGesture=false");
    EXPECT_EQ(log[static_cast<std::size_t>(capacity)],
              "  Entry[" + std::to_string(capacity - 1) + "]: type=101, age=0ms, isGesture=false");
  }
}

TEST_F(GestureDetectorTest, AGestureIsRememberedWhenItsPlaceInTheRingIsTaken) {
  click(100ms);
  for (int i = 0; i < 100; ++i) detector_.recordEvent(platform::kCGEventKeyDown, 0, 0, dateNow());
  EXPECT_TRUE(detector_.hasRecentUserGesture(500));
}

TEST_F(GestureDetectorTest, TheGestureRecordedLastCountsEvenIfItIsTheOlderOne) {
  click(100ms);
  click(400ms);
  EXPECT_THAT(logOfAsking(200, false), ElementsAre(line("=== hasRecentUserGesture: windowMs=200, buffer count=2"),
                                                   line("  Entry[0]: type=1, age=400ms, isGesture=true"),
                                                   line("  Entry too old (age 400ms > window 200ms), stopping scan"),
                                                   line("=== Result: NOT FOUND (scanned 1 events)")));
}

TEST_F(GestureDetectorTest, ResettingForgetsTheEventsButNotTheLastGesture) {
  click();
  detector_.reset();
  EXPECT_TRUE(detector_.hasRecentUserGesture(500));
  desktop_.advance(1s);
  EXPECT_THAT(logOfAsking(500, false), ElementsAre(line("=== hasRecentUserGesture: windowMs=500, buffer count=0"),
                                                   line("=== Result: NOT FOUND (scanned 0 events)")));
}

}  // namespace
}  // namespace varnoletKit
