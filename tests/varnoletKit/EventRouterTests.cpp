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

  // The router's first key always counts as a change; this gets over it.
  void typeIntoTheEditorForTheFirstTime() {
    desktop_.type("-");
    buffer_->flush();
    desktop_.settle();
    desktop_.clearLog();
  }
  std::string pidChange(const NSRunningApplication& to, std::int32_t from) const {
    return "⚡️ EventRouter detected PID change: " + std::to_string(from) + " → " +
           std::to_string(to.processIdentifier());
  }

  SimulatedDesktop desktop_;
  const NSRunningApplication editor_ = desktop_.launch({.localizedName = "Editor"});
  const NSRunningApplication dialog_ = desktop_.launch({.localizedName = "Dialog"});
  std::shared_ptr<GestureDetector> detector_ = std::make_shared<GestureDetector>(64);
  std::shared_ptr<KeystrokeBuffer> buffer_ =
      std::make_shared<KeystrokeBuffer>(500, std::weak_ptr<KeystrokeBufferDelegate>());
  std::shared_ptr<EventRouter> router_ = std::make_shared<EventRouter>(detector_, buffer_);
  EventTapManager eventTap_{router_};
};

TEST_F(EventRouterTest, TheFirstKeyIsAChangeAndItselfHeld) {
  desktop_.pressKey('a');
  EXPECT_THAT(logOf(desktop_, {LogCategory::focus, LogCategory::buffer}),
              ElementsAre(infoLine(LogCategory::focus, pidChange(editor_, 0)),
                          infoLine(LogCategory::buffer,
                                   "Keystroke buffer: speculative capture started (awaiting classification)"),
                          infoLine(LogCategory::focus, "⏸️  EventRouter started speculative capture on PID change"),
                          debugLine(LogCategory::buffer, "Buffered 10 event (count: 1)")));
  EXPECT_EQ(desktop_.textIn(editor_), "");
}

TEST_F(EventRouterTest, KeysInTheSameApplicationAreNoChange) {
  typeIntoTheEditorForTheFirstTime();
  desktop_.type("abc");
  EXPECT_EQ(desktop_.textIn(editor_), "-abc");
  EXPECT_THAT(logOf(desktop_, {LogCategory::focus, LogCategory::buffer}), IsEmpty());
}

TEST_F(EventRouterTest, TheReleaseOfAKeyInAnotherApplicationIsAChangeToo) {
  typeIntoTheEditorForTheFirstTime();
  desktop_.pressKey('a');
  desktop_.setFrontmost(dialog_);
  desktop_.releaseKey('a');
  EXPECT_EQ(desktop_.timesLogged(pidChange(dialog_, editor_.processIdentifier())), 1u);
  EXPECT_EQ(buffer_->count(), 1);
}

TEST_F(EventRouterTest, ClicksAndModifiersAreRecordedButNeverHeldFor) {
  typeIntoTheEditorForTheFirstTime();
  desktop_.setFrontmost(dialog_);
  desktop_.clickMouse();
  desktop_.changeFlags(platform::kCGEventFlagMaskCommand);
  EXPECT_EQ(buffer_->mode(), BufferMode::passThrough);
  EXPECT_TRUE(detector_->hasRecentUserGesture(500));
  EXPECT_EQ(desktop_.timesLogged("🎯 EventRouter received event type=1"), 1u);
  EXPECT_EQ(desktop_.timesLogged("🎯 EventRouter received event type=12"), 1u);
  desktop_.pressKey('a');
  EXPECT_EQ(buffer_->mode(), BufferMode::speculative);
}

TEST_F(EventRouterTest, CommandKeysReachTheGestureDetectorAlsoWhenTheyAreHeld) {
  desktop_.changeFlags(platform::kCGEventFlagMaskCommand);
  EXPECT_FALSE(detector_->hasRecentUserGesture(500));
  desktop_.pressKey('t');
  EXPECT_EQ(buffer_->count(), 1);
  EXPECT_TRUE(detector_->hasRecentUserGesture(500));
}

TEST_F(EventRouterTest, WithNobodyInFrontThereIsNothingToCompare) {
  desktop_.setFrontmost(std::nullopt);
  desktop_.type("a");
  EXPECT_EQ(buffer_->mode(), BufferMode::passThrough);
  buffer_->startCapturing();
  desktop_.type("b");
  EXPECT_EQ(buffer_->count(), 2);
}

TEST_F(EventRouterTest, KeysPostedToWhoeverIsNotedAsFrontmostStartNoCapture) {
  typeIntoTheEditorForTheFirstTime();
  desktop_.setFrontmost(dialog_);
  desktop_.type("ab");
  desktop_.setFrontmost(editor_);
  desktop_.clearLog();
  router_->noteFrontmost(editor_.processIdentifier());
  EXPECT_EQ(buffer_->replay(), 4);
  desktop_.settle();
  EXPECT_EQ(buffer_->mode(), BufferMode::passThrough);
  desktop_.type("c");
  EXPECT_EQ(desktop_.textIn(editor_), "-abc");
  EXPECT_EQ(desktop_.timesLogged("⏸️  EventRouter started speculative capture on PID change"), 0u);
}

TEST_F(EventRouterTest, KeysPostedWhileAThiefIsBackInFrontAreHeldOnceMore) {
  typeIntoTheEditorForTheFirstTime();
  desktop_.setFrontmost(dialog_);
  desktop_.type("ab");
  router_->noteFrontmost(editor_.processIdentifier());
  EXPECT_EQ(buffer_->replay(), 4);
  desktop_.settle();
  EXPECT_EQ(desktop_.textIn(dialog_), "");
  EXPECT_EQ(buffer_->mode(), BufferMode::speculative);
  EXPECT_EQ(buffer_->count(), 4);
}

TEST_F(EventRouterTest, WhoeverIsNotedAsFrontmostMakesTheNextKeyElsewhereAChange) {
  typeIntoTheEditorForTheFirstTime();
  desktop_.setFrontmost(dialog_);
  desktop_.type("a");
  router_->noteFrontmost(editor_.processIdentifier());
  buffer_->cancelCapture();
  desktop_.type("b");
  EXPECT_EQ(desktop_.textIn(dialog_), "");
  EXPECT_EQ(buffer_->mode(), BufferMode::speculative);
}

}  // namespace
}  // namespace varnoletKit
