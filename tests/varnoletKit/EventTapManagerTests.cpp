#include "GuardDoubles.h"
#include "varnoletKit/EventTapManager.h"

namespace varnoletKit {
namespace {

struct RecordingTapDelegate final : EventTapDelegate {
  platform::CGEvent* handleTapEvent(platform::CGEventTapProxy, platform::CGEventType type,
                                    platform::CGEvent& event) override {
    EXPECT_FALSE(platform::isMainThread());
    types.push_back(type);
    return suppresses ? nullptr : &event;
  }
  std::vector<platform::CGEventType> types;
  bool suppresses = false;
};

class EventTapManagerTest : public ::testing::Test {
 protected:
  EventTapManagerTest() { desktop_.setFrontmost(app_); }

  void startAndSettle() {
    EXPECT_TRUE(manager_->start());
    desktop_.settle();
    desktop_.clearLog();
  }
  std::vector<LogLine> log() const { return logOf(desktop_, {LogCategory::focus, LogCategory::lifecycle}); }

  const LogLine created_ = infoLine(LogCategory::focus, "CGEventTap created successfully");
  const LogLine loopStarted_ = debugLine(LogCategory::lifecycle, "EventTap run loop started");
  const LogLine loopExited_ = debugLine(LogCategory::lifecycle, "EventTap run loop exited");
  const LogLine tornDown_ = infoLine(LogCategory::lifecycle, "EventTap torn down");
  const LogLine alreadyRunning_ = debugLine(LogCategory::lifecycle, "EventTap already running, skipping start");

  SimulatedDesktop desktop_;
  const NSRunningApplication app_ = desktop_.launch({});
  std::shared_ptr<RecordingTapDelegate> delegate_ = std::make_shared<RecordingTapDelegate>();
  std::unique_ptr<EventTapManager> manager_ = std::make_unique<EventTapManager>(delegate_);
};

TEST_F(EventTapManagerTest, StartsOneTapHoweverOftenItIsAsked) {
  EXPECT_FALSE(manager_->isActive());
  EXPECT_TRUE(manager_->start());
  EXPECT_TRUE(manager_->start());  // the loop has perhaps not begun
  desktop_.settle();
  EXPECT_TRUE(manager_->start());
  EXPECT_EQ(desktop_.liveTaps(), 1u);
  EXPECT_TRUE(manager_->isActive());
  EXPECT_THAT(log(), ::testing::UnorderedElementsAre(created_, loopStarted_, alreadyRunning_, alreadyRunning_));
}

TEST_F(EventTapManagerTest, WithoutPermissionThereIsNoTapUntilItIsAskedAgain) {
  desktop_.grantInputMonitoring(false);
  EXPECT_FALSE(manager_->start());
  desktop_.settle();
  EXPECT_FALSE(manager_->isActive());
  const auto refused =
      errorLine(LogCategory::focus, "Failed to create CGEventTap — Accessibility permission likely not granted");
  EXPECT_THAT(log(), ElementsAre(refused));
  desktop_.grantInputMonitoring();
  EXPECT_TRUE(manager_->start());
  desktop_.settle();
  EXPECT_THAT(log(), ElementsAre(refused, created_, loopStarted_));
}

TEST_F(EventTapManagerTest, StoppingEndsTheLoopWithinTheTenthOfASecondThatItTakes) {
  startAndSettle();
  const auto before = platform::DispatchTime::now().uptimeNanoseconds;
  manager_->stop();
  EXPECT_EQ(platform::DispatchTime::now().uptimeNanoseconds - before, 100'000'000u);
  EXPECT_THAT(log(), ElementsAre(tornDown_, loopExited_));
  EXPECT_FALSE(manager_->isActive());
  EXPECT_EQ(desktop_.liveTaps(), 0u);
  EXPECT_EQ(desktop_.liveRunLoopSources(), 0u);
  desktop_.type("a");
  EXPECT_THAT(delegate_->types, IsEmpty());

  EXPECT_TRUE(manager_->start());
  desktop_.settle();
  desktop_.type("b");
  EXPECT_THAT(delegate_->types, ElementsAre(10, 11));
  EXPECT_THAT(log(), ElementsAre(tornDown_, loopExited_, created_, loopStarted_));
}

TEST_F(EventTapManagerTest, StoppingBeforeTheLoopHasBegunLeavesNoLoopBehind) {
  EXPECT_TRUE(manager_->start());
  manager_->stop();
  desktop_.advance(2s);
  EXPECT_EQ(desktop_.liveTaps(), 0u);
  EXPECT_EQ(desktop_.liveRunLoopSources(), 0u);
  EXPECT_EQ(desktop_.timesLogged("EventTap run loop started"), desktop_.timesLogged("EventTap run loop exited"));
  EXPECT_TRUE(manager_->start());
  desktop_.settle();
  EXPECT_TRUE(manager_->isActive());
}

TEST_F(EventTapManagerTest, StoppingWithoutATapOnlyTellsTheLog) {
  manager_->stop();
  EXPECT_THAT(log(), ElementsAre(tornDown_));
}

TEST_F(EventTapManagerTest, AManagerThatGoesTakesItsTapAlong) {
  startAndSettle();
  manager_.reset();
  EXPECT_EQ(desktop_.liveTaps(), 0u);
  EXPECT_EQ(desktop_.liveRunLoopSources(), 0u);
  EXPECT_THAT(log(), ElementsAre(tornDown_, loopExited_));
}

TEST_F(EventTapManagerTest, TheDelegateSeesSixTypesAndDecidesOnEach) {
  startAndSettle();
  for (const platform::CGEventType type : {1u, 2u, 3u, 4u, 5u, 6u, 10u, 11u, 12u, 22u, 25u, 26u}) {
    desktop_.sendEvent(type);
  }
  EXPECT_THAT(delegate_->types, ElementsAre(1, 3, 10, 11, 12, 25));
  EXPECT_EQ(desktop_.inputDeliveredTo(app_).size(), 12u);
  EXPECT_EQ(desktop_.timesLogged("⚡️ eventTapCallback called! type=25"), 1u);

  delegate_->suppresses = true;
  desktop_.pressKey('a');
  EXPECT_EQ(desktop_.textIn(app_).find('a'), std::string::npos);
  EXPECT_EQ(desktop_.timesLogged("eventTapCallback: event suppressed (capture mode)"), 1u);
}

TEST_F(EventTapManagerTest, WithoutADelegateEverythingPasses) {
  startAndSettle();
  delegate_.reset();
  desktop_.type("a");
  EXPECT_EQ(desktop_.textIn(app_), "a");
  EXPECT_EQ(desktop_.timesLogged("eventTapCallback: delegate is nil!"), 2u);
}

TEST_F(EventTapManagerTest, ATapThatTheSystemDisablesStaysSoUntilItIsReenabled) {
  startAndSettle();
  manager_->reenable();  // nothing to do yet
  desktop_.disableTapBySystem(platform::kCGEventTapDisabledByTimeout);
  EXPECT_FALSE(manager_->isActive());
  manager_->reenable();
  desktop_.disableTapBySystem(platform::kCGEventTapDisabledByUserInput);
  desktop_.type("a");
  EXPECT_THAT(delegate_->types, IsEmpty());
  manager_->reenable();
  EXPECT_TRUE(manager_->isActive());
  desktop_.type("b");
  EXPECT_THAT(delegate_->types, ElementsAre(10, 11));
  const auto reenabled = infoLine(LogCategory::focus, "EventTap re-enabled after system disable");
  EXPECT_THAT(
      log(), ElementsAre(errorLine(LogCategory::focus, "CGEventTap disabled by system (type: 4294967294)"), reenabled,
                         errorLine(LogCategory::focus, "CGEventTap disabled by system (type: 4294967295)"), reenabled));
}

}  // namespace
}  // namespace varnoletKit
