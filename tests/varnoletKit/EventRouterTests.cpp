#include "GuardDoubles.h"
#include "varnoletKit/EventRouter.h"
#include "varnoletKit/EventTapManager.h"

namespace varnoletKit {
namespace {

class EventRouterTest : public ::testing::Test {
 protected:
  EventRouterTest() {
    desktop_.setFrontmost(editor_);
    EXPECT_TRUE(eventTap_.start());
    desktop_.settle();
    desktop_.clearLog();
  }
  // Nothing held, nobody expected, the keys in the editor; then the dialog comes to the front.
  void moveFromTheEditorToTheDialog() {
    buffer_->cancelCapture();
    expected_->end();
    router_->setLastKnownFrontmostPID(editor_.processIdentifier());
    desktop_.setFrontmost(dialog_);
    desktop_.clearLog();
  }

  InterruptedDesktop desktop_;
  const NSRunningApplication editor_ = desktop_.launch({.pid = 7, .localizedName = "Editor"});
  const NSRunningApplication dialog_ = desktop_.launch({.pid = 8, .localizedName = "Dialog"});
  std::shared_ptr<GestureDetector> detector_ = std::make_shared<GestureDetector>(64);
  std::shared_ptr<KeystrokeBuffer> buffer_ =
      std::make_shared<KeystrokeBuffer>(500, std::weak_ptr<KeystrokeBufferDelegate>());
  std::shared_ptr<ExpectedReturn> expected_ = std::make_shared<ExpectedReturn>();
  std::shared_ptr<EventRouter> router_ = std::make_shared<EventRouter>(detector_, buffer_, expected_);
  EventTapManager eventTap_{router_};
};

TEST_F(EventRouterTest, TheFirstKeyIsAChangeAndItselfHeldAndThoseThatFollowAreNone) {
  desktop_.pressKey('a');
  EXPECT_THAT(logOf(desktop_, {LogCategory::focus, LogCategory::buffer}),
              ElementsAre(infoLine(LogCategory::focus, "⚡️ EventRouter detected PID change: 0 → 7"),
                          infoLine(LogCategory::buffer,
                                   "Keystroke buffer: speculative capture started (awaiting classification)"),
                          infoLine(LogCategory::focus, "⏸️  EventRouter started speculative capture on PID change"),
                          debugLine(LogCategory::buffer, "Buffered 10 event (count: 1)")));
  EXPECT_EQ(desktop_.textIn(editor_), "");
  buffer_->flush();
  desktop_.settle();
  desktop_.clearLog();
  desktop_.type("bc");
  EXPECT_EQ(desktop_.textIn(editor_), "abc");
  EXPECT_THAT(logOf(desktop_, {LogCategory::focus, LogCategory::buffer}), IsEmpty());
}

TEST_F(EventRouterTest, EveryEventIsRecordedBeforeAnyIsHeldAndOnlyKeysAreHeldFor) {
  struct Case {
    platform::CGEventType type;
    platform::CGEventFlags flags;
    BufferMode mode;
    bool isGesture;
  };
  for (const auto& c :
       {Case{platform::kCGEventKeyUp, 0, BufferMode::speculative, false},
        Case{platform::kCGEventFlagsChanged, 0, BufferMode::passThrough, false},
        Case{platform::kCGEventKeyDown, platform::kCGEventFlagMaskCommand, BufferMode::speculative, true},
        Case{platform::kCGEventLeftMouseDown, 0, BufferMode::passThrough, true}}) {
    moveFromTheEditorToTheDialog();
    desktop_.sendEvent(c.type, c.flags);
    EXPECT_EQ(desktop_.timesLogged("🎯 EventRouter received event type=" + std::to_string(c.type)), 1u);
    EXPECT_EQ(buffer_->mode(), c.mode) << c.type;
    EXPECT_EQ(detector_->hasRecentUserGesture(500), c.isGesture) << c.type;
    desktop_.advance(1s);
  }
}

TEST_F(EventRouterTest, WithNobodyInFrontThereIsNothingToCompare) {
  desktop_.setFrontmost(std::nullopt);
  desktop_.type("a");
  EXPECT_EQ(buffer_->mode(), BufferMode::passThrough);
  buffer_->startCapturing();
  desktop_.type("b");
  EXPECT_EQ(buffer_->count(), 2);
}

TEST_F(EventRouterTest, AKeyElsewhereIsHeldForWhoeverIsExpectedBack) {
  constexpr char started[] = "Keystroke buffer: speculative capture started (awaiting classification)";
  constexpr char promoted[] = "Keystroke buffer: promoted from speculative to capturing";
  constexpr std::int32_t nobody = 0, editor = 7, dialog = 8;
  using enum BufferMode;
  struct Case {
    const char* story;
    std::int32_t expected;
    BufferMode mode;
    platform::CGEventType eventBefore = platform::kCGEventFlagsChanged;
    const char* moment = "";  // at which another one is expected
    std::int32_t expectedThen = nobody;
  };
  ExpectedReturn::Expectation expectation;
  for (const auto& c : {
           Case{"nobody", nobody, speculative},
           Case{"the editor", editor, capturing},
           Case{"the dialog itself", dialog, passThrough},
           Case{"the user has clicked", editor, speculative, platform::kCGEventRightMouseDown},
           Case{"judged while the capture starts", nobody, capturing, platform::kCGEventKeyUp, started, editor},
           Case{"given up while it is promoted", editor, speculative, platform::kCGEventKeyUp, promoted, nobody},
       }) {
    const auto expect = [&](std::int32_t pid) { expectation = pid == nobody ? nullptr : expected_->expect(pid); };
    moveFromTheEditorToTheDialog();
    desktop_.moment = c.moment;
    desktop_.interruption = [&] { expect(c.expectedThen); };
    expect(c.expected);
    desktop_.sendEvent(c.eventBefore);
    desktop_.sendEvent(platform::kCGEventKeyDown);
    EXPECT_EQ(buffer_->mode(), c.mode) << c.story;
  }
}

TEST_F(EventRouterTest, WhatIsHeldForAJudgedTheftStaysSo) {
  moveFromTheEditorToTheDialog();
  buffer_->startCapturing();
  desktop_.pressKey('a');
  EXPECT_EQ(buffer_->mode(), BufferMode::capturing);
}

}  // namespace
}  // namespace varnoletKit
