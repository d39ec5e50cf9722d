#include "GuardDoubles.h"
#include "varnoletKit/EventTapManager.h"
#include "varnoletKit/KeystrokeBuffer.h"

namespace varnoletKit {
namespace {

constexpr platform::CGEventType mouseMoved = 5;

// A user types into whichever application is in front, and the buffer decides on every event.
class KeystrokeBufferTest : public ::testing::Test {
 protected:
  KeystrokeBufferTest() {
    desktop_.activate(app_);
    EXPECT_TRUE(eventTap_.start());
    desktop_.settle();
    desktop_.clearLog();
  }

  std::vector<LogLine> bufferLog() const { return logOf(desktop_, {LogCategory::buffer}); }
  static LogLine info(std::string message) { return infoLine(LogCategory::buffer, std::move(message)); }
  static LogLine debug(std::string message) { return debugLine(LogCategory::buffer, std::move(message)); }

  SimulatedDesktop desktop_;
  const NSRunningApplication app_ = desktop_.launch({.localizedName = "Editor"});
  std::shared_ptr<RecordedDelegateCalls> delegate_ = std::make_shared<RecordedDelegateCalls>();
  std::shared_ptr<KeystrokeBuffer> buffer_ = std::make_shared<KeystrokeBuffer>(500, delegate_);
  std::shared_ptr<TapOnBuffer> tap_ = std::make_shared<TapOnBuffer>(buffer_);
  EventTapManager eventTap_{tap_};
};

TEST_F(KeystrokeBufferTest, AtRestEverythingPassesSilently) {
  desktop_.type("ab");
  desktop_.clickMouse();
  desktop_.settle();
  EXPECT_EQ(buffer_->mode(), BufferMode::passThrough);
  EXPECT_EQ(desktop_.textIn(app_), "ab");
  EXPECT_EQ(desktop_.suppressedEvents(), 0u);
  EXPECT_THAT(bufferLog(), IsEmpty());
}

TEST_F(KeystrokeBufferTest, BothHoldingModesHoldKeysAndModifiersAndNothingElse) {
  for (const bool speculative : {true, false}) {
    speculative ? buffer_->startSpeculativeCapture() : buffer_->startCapturing();
    EXPECT_EQ(buffer_->mode(), speculative ? BufferMode::speculative : BufferMode::capturing);
    desktop_.clearLog();
    desktop_.pressKey('a');
    desktop_.releaseKey('a');
    desktop_.changeFlags(platform::kCGEventFlagMaskShift);
    desktop_.sendEvent(mouseMoved);
    EXPECT_EQ(buffer_->count(), 3);
    EXPECT_EQ(desktop_.textIn(app_), "");
    EXPECT_THAT(bufferLog(), ElementsAre(debug("Buffered 10 event (count: 1)"), debug("Buffered 11 event (count: 2)"),
                                         debug("Buffered 12 event (count: 3)")));
    buffer_->cancelCapture();
  }
}

TEST_F(KeystrokeBufferTest, AFlushReleasesWhatWasTypedInItsOrderAndBeforeWhatComesLater) {
  buffer_->startSpeculativeCapture();
  desktop_.type("ab");
  desktop_.clearLog();
  EXPECT_EQ(buffer_->flush(), 4);
  EXPECT_THAT(bufferLog(), ElementsAre(info("Flushing 4 speculatively buffered keystroke(s) to frontmost app"),
                                       info("Flushed 4 keystroke events to frontmost app")));
  desktop_.type("c");
  EXPECT_EQ(desktop_.textIn(app_), "abc");
  desktop_.advance(1s);
  EXPECT_THAT(delegate_->calls, IsEmpty());
}

TEST_F(KeystrokeBufferTest, ReleasingNothingIsHarmlessAndStillOpensTheGate) {
  buffer_->startSpeculativeCapture();
  desktop_.clearLog();
  EXPECT_EQ(buffer_->flush(), 0);
  EXPECT_EQ(buffer_->mode(), BufferMode::passThrough);
  buffer_->startCapturing();
  EXPECT_EQ(buffer_->replay(), 0);
  EXPECT_EQ(buffer_->mode(), BufferMode::passThrough);
  EXPECT_THAT(bufferLog(),
              ElementsAre(debug("Keystroke buffer: nothing to flush"), debug("Keystroke buffer: capturing started"),
                          debug("Keystroke buffer: nothing to replay")));
}

TEST_F(KeystrokeBufferTest, ASpeculativeCaptureThatNobodyJudgesIsReleased200msAfterItsLatestStart) {
  buffer_->startSpeculativeCapture();
  desktop_.type("a");
  desktop_.advance(150ms);
  buffer_->startSpeculativeCapture();
  desktop_.type("b");
  desktop_.advance(199ms);
  EXPECT_EQ(desktop_.textIn(app_), "");
  desktop_.clearLog();
  desktop_.advance(1ms);
  EXPECT_EQ(desktop_.textIn(app_), "ab");
  EXPECT_THAT(delegate_->calls, ElementsAre("timeout"));
  EXPECT_THAT(bufferLog(), ElementsAre(info("Speculative capture safety timeout (200ms) — flushing to frontmost app"),
                                       info("Flushing 4 speculatively buffered keystroke(s) to frontmost app"),
                                       info("Flushed 4 keystroke events to frontmost app")));
}

TEST_F(KeystrokeBufferTest, PromotedKeysAreReplayedOnDemandAndNoTimeoutFollows) {
  buffer_->startSpeculativeCapture();
  desktop_.type("a");
  desktop_.clearLog();
  buffer_->promoteToCapture();
  EXPECT_EQ(buffer_->mode(), BufferMode::capturing);
  desktop_.advance(499ms);
  EXPECT_EQ(desktop_.textIn(app_), "");
  EXPECT_EQ(buffer_->replay(), 2);
  desktop_.advance(1s);
  EXPECT_EQ(desktop_.textIn(app_), "a");
  EXPECT_THAT(delegate_->calls, IsEmpty());
  EXPECT_THAT(bufferLog(), ElementsAre(info("Keystroke buffer: promoted from speculative to capturing"),
                                       info("Replayed 2 keystroke events")));
}

TEST_F(KeystrokeBufferTest, PromotedKeysAreDroppedAtTheCaptureTimeout) {
  buffer_->startSpeculativeCapture();
  desktop_.type("a");
  desktop_.advance(100ms);
  buffer_->promoteToCapture();
  desktop_.advance(499ms);
  EXPECT_EQ(buffer_->count(), 2);
  desktop_.clearLog();
  desktop_.advance(1ms);
  EXPECT_EQ(buffer_->mode(), BufferMode::passThrough);
  EXPECT_THAT(delegate_->calls, ElementsAre("timeout"));
  EXPECT_EQ(buffer_->replay(), 0);
  desktop_.settle();
  EXPECT_EQ(desktop_.textIn(app_), "");
  EXPECT_THAT(bufferLog(), ElementsAre(info("Keystroke buffer timeout (500ms) — releasing without replay"),
                                       debug("Keystroke buffer: capture cancelled, buffer cleared"),
                                       debug("Keystroke buffer: nothing to replay")));
}

TEST_F(KeystrokeBufferTest, APromotionWithNothingHeldLeavesTheGateOpenButArmsTheTimeout) {
  buffer_->promoteToCapture();
  EXPECT_EQ(buffer_->mode(), BufferMode::passThrough);
  EXPECT_EQ(desktop_.timesLogged("Keystroke buffer: promoted from speculative to capturing"), 1u);
  desktop_.advance(300ms);
  buffer_->promoteToCapture();  // starts the timeout afresh
  desktop_.advance(499ms);
  EXPECT_THAT(delegate_->calls, IsEmpty());
  desktop_.advance(1ms);
  EXPECT_THAT(delegate_->calls, ElementsAre("timeout"));
}

TEST_F(KeystrokeBufferTest, AFlushLeavesTheCaptureTimeoutRunningWhichSparesLaterHolds) {
  buffer_->startCapturing();
  buffer_->flush();
  desktop_.advance(500ms);
  EXPECT_THAT(delegate_->calls, ElementsAre("timeout"));

  for (const bool isHeldMeanwhile : {true, false}) {
    isHeldMeanwhile ? buffer_->startCapturing() : buffer_->promoteToCapture();
    buffer_->flush();
    desktop_.advance(350ms);
    buffer_->startSpeculativeCapture();
    desktop_.type("a");
    desktop_.advance(150ms);
    EXPECT_EQ(buffer_->count(), 2) << "the timeout of an earlier hold took the keys of this one";
    buffer_->flush();
    desktop_.settle();
  }
  EXPECT_EQ(desktop_.textIn(app_), "aa");
  EXPECT_THAT(delegate_->calls, ElementsAre("timeout"));
}

TEST_F(KeystrokeBufferTest, AReplayLeavesTheSpeculativeTimeoutToFindNothing) {
  buffer_->startSpeculativeCapture();
  desktop_.type("a");
  buffer_->replay();
  desktop_.clearLog();
  desktop_.advance(1s);
  EXPECT_EQ(desktop_.textIn(app_), "a");
  EXPECT_THAT(delegate_->calls, IsEmpty());
  EXPECT_THAT(bufferLog(), IsEmpty());
}

TEST_F(KeystrokeBufferTest, AClickOfAnyButtonDropsTheKeysAndPasses) {
  for (const platform::CGEventType button : {1u, 3u, 25u}) {
    delegate_->calls.clear();
    buffer_->startSpeculativeCapture();
    desktop_.type("a");
    buffer_->promoteToCapture();
    desktop_.clearLog();
    desktop_.clickMouse({10, 20}, button);
    EXPECT_EQ(buffer_->mode(), BufferMode::passThrough);
    EXPECT_THAT(delegate_->calls, IsEmpty());
    desktop_.settle();
    EXPECT_THAT(delegate_->calls, ElementsAre("mouse click"));
    EXPECT_THAT(bufferLog(), ElementsAre(info("Mouse click during intercept — cancelling re-activation"),
                                         debug("Keystroke buffer: capture cancelled, buffer cleared")));
    EXPECT_EQ(desktop_.inputDeliveredTo(app_).back().type, button);
    desktop_.advance(1s);
    EXPECT_THAT(delegate_->calls, ElementsAre("mouse click"));
  }
  EXPECT_EQ(desktop_.textIn(app_), "");
}

TEST_F(KeystrokeBufferTest, AKeyThatCannotBeCopiedIsSwallowedAllTheSame) {
  buffer_->startSpeculativeCapture();
  desktop_.makeEventsUncopyable();
  desktop_.pressKey('a');
  EXPECT_EQ(desktop_.suppressedEvents(), 1u);
  EXPECT_EQ(buffer_->count(), 0);
  EXPECT_EQ(desktop_.timesLogged("Buffered 10 event (count: 0)"), 1u);
}

TEST_F(KeystrokeBufferTest, TheDelegateOfTheMomentIsToldAndAVanishedOneIsNot) {
  buffer_->startSpeculativeCapture();
  desktop_.type("a");
  desktop_.clickMouse();
  delegate_.reset();
  desktop_.settle();
  EXPECT_EQ(buffer_->count(), 0);

  const auto successor = std::make_shared<RecordedDelegateCalls>();
  buffer_->setDelegate(successor);
  buffer_->startSpeculativeCapture();
  desktop_.advance(200ms);
  EXPECT_THAT(successor->calls, ElementsAre("timeout"));
}

TEST_F(KeystrokeBufferTest, ATimeoutOfNothingActsAtOnceAndOnceAndNeverForABufferThatIsGone) {
  auto impatient = std::make_shared<KeystrokeBuffer>(0, delegate_);
  impatient->startCapturing();
  desktop_.advance(0ms);
  EXPECT_EQ(impatient->mode(), BufferMode::passThrough);
  desktop_.advance(1s);
  EXPECT_THAT(delegate_->calls, ElementsAre("timeout"));

  impatient->startSpeculativeCapture();
  impatient->promoteToCapture();
  impatient.reset();
  desktop_.clearLog();
  desktop_.advance(1s);
  EXPECT_THAT(delegate_->calls, ElementsAre("timeout"));
  EXPECT_THAT(bufferLog(), IsEmpty());
}

}  // namespace
}  // namespace varnoletKit
