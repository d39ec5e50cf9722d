#include "GuardDoubles.h"
#include "varnoletKit/ApplicationIdentifier.h"
#include "varnoletKit/EventTapManager.h"
#include "varnoletKit/FocusChangeObserver.h"

namespace varnoletKit {
namespace {

struct StubGestures final : GestureDetecting {
  bool hasRecentUserGesture(std::int64_t windowMs) override {
    EXPECT_EQ(windowMs, 350);
    return recent;
  }
  void recordEvent(platform::CGEventType, platform::CGEventFlags, double, platform::Date) override {}
  bool recent = false;
};

struct RecordedOutcomes final : FocusChangeDelegate {
  void focusChangeUserInitiated(const NSRunningApplication& app) override { record("user", app); }
  void focusChangeProgrammaticTheftBy(const NSRunningApplication& thief, const NSRunningApplication& blessed) override {
    outcomes.push_back("theft by " + std::to_string(thief.processIdentifier()) + " from " +
                       std::to_string(blessed.processIdentifier()));
  }
  void focusChangeWhitelisted(const NSRunningApplication& app) override { record("whitelisted", app); }
  void record(const std::string& kind, const NSRunningApplication& app) {
    outcomes.push_back(kind + " " + std::to_string(app.processIdentifier()));
  }
  std::vector<std::string> outcomes;
};

class FocusChangeObserverTest : public ::testing::Test {
 protected:
  FocusChangeObserverTest() {
    desktop_.setFrontmost(editor_);
    EXPECT_TRUE(eventTap_.start());
    desktop_.settle();
    observer_ = makeObserver();
    observer_->startObserving();
    desktop_.clearLog();
  }

  std::shared_ptr<FocusChangeObserver> makeObserver() {
    return std::make_shared<FocusChangeObserver>(gestures_, whitelist_, 350, state_, delegate_, buffer_);
  }
  void activate(const NSRunningApplication& app) {
    desktop_.activate(app);
    desktop_.settle();
  }
  // One key, held back as it is when the frontmost application has changed.
  void typeHeldKey() {
    buffer_->startSpeculativeCapture();
    desktop_.pressKey('a');
    desktop_.clearLog();
  }
  std::vector<LogLine> log() const { return logOf(desktop_, {LogCategory::focus, LogCategory::buffer}); }
  static LogLine info(std::string message) { return infoLine(LogCategory::focus, std::move(message)); }
  static LogLine bufferInfo(std::string message) { return infoLine(LogCategory::buffer, std::move(message)); }

  const LogLine flushing_ = bufferInfo("Flushing 1 speculatively buffered keystroke(s) to frontmost app");
  const LogLine flushed_ = bufferInfo("Flushed 1 keystroke events to frontmost app");

  SimulatedDesktop desktop_;
  const NSRunningApplication editor_ =
      desktop_.launch({.pid = 1, .bundleIdentifier = "org.example.editor", .localizedName = "Editor"});
  const NSRunningApplication other_ =
      desktop_.launch({.pid = 2, .bundleIdentifier = "org.example.other", .localizedName = "Other"});
  std::shared_ptr<StubGestures> gestures_ = std::make_shared<StubGestures>();
  std::shared_ptr<StubWhitelist> whitelist_ = std::make_shared<StubWhitelist>();
  std::shared_ptr<FocusGuardState> state_ = std::make_shared<FocusGuardState>();
  std::shared_ptr<RecordedOutcomes> delegate_ = std::make_shared<RecordedOutcomes>();
  std::shared_ptr<KeystrokeBuffer> buffer_ =
      std::make_shared<KeystrokeBuffer>(500, std::weak_ptr<KeystrokeBufferDelegate>());
  std::shared_ptr<TapOnBuffer> tap_ = std::make_shared<TapOnBuffer>(buffer_);
  EventTapManager eventTap_{tap_};
  std::shared_ptr<FocusChangeObserver> observer_;
};

TEST_F(FocusChangeObserverTest, StartsWithWhoeverIsInFrontUnlessThatIsThisProgram) {
  EXPECT_EQ(observer_->blessedApp(), editor_);
  desktop_.setFrontmost(desktop_.launch({.bundleIdentifier = applicationIdentifier}));
  EXPECT_EQ(makeObserver()->blessedApp(), std::nullopt);
  const auto nameless = desktop_.launch({});
  desktop_.setFrontmost(nameless);
  EXPECT_EQ(makeObserver()->blessedApp(), nameless);
  desktop_.setFrontmost(std::nullopt);
  EXPECT_EQ(makeObserver()->blessedApp(), std::nullopt);
}

TEST_F(FocusChangeObserverTest, AnActivationAfterAGestureIsTheUsersEvenIfItIsWhitelisted) {
  gestures_->recent = true;
  whitelist_->entries = {"org.example.other"};
  typeHeldKey();
  activate(other_);
  EXPECT_THAT(delegate_->outcomes, ElementsAre("user 2"));
  EXPECT_EQ(observer_->blessedApp(), other_);
  EXPECT_EQ(desktop_.textIn(other_), "a");
  EXPECT_THAT(log(), ElementsAre(info("🔔 Focus change notification: Other (org.example.other)"),
                                 info("🔍 Classification: USER-INITIATED for Other"),
                                 info("✅ User-initiated activation: Other (org.example.other)"), flushing_, flushed_,
                                 info("💨 Flushed 1 buffered keystroke(s) to Other")));
}

TEST_F(FocusChangeObserverTest, AWhitelistedActivationIsProgrammaticAndAccepted) {
  whitelist_->entries = {"org.example.other"};
  typeHeldKey();
  activate(other_);
  EXPECT_THAT(delegate_->outcomes, ElementsAre("whitelisted 2"));
  EXPECT_EQ(observer_->blessedApp(), other_);
  EXPECT_THAT(log(), ElementsAre(info("🔔 Focus change notification: Other (org.example.other)"),
                                 info("🔍 Classification: PROGRAMMATIC for Other"),
                                 info("✅ Whitelisted programmatic activation: Other (org.example.other)"), flushing_,
                                 flushed_, info("💨 Flushed 1 buffered keystroke(s) to Other")));
}

TEST_F(FocusChangeObserverTest, AnyOtherActivationIsATheftAndTheKeysStayHeld) {
  typeHeldKey();
  activate(other_);
  EXPECT_THAT(delegate_->outcomes, ElementsAre("theft by 2 from 1"));
  EXPECT_EQ(observer_->blessedApp(), editor_);
  EXPECT_EQ(buffer_->mode(), BufferMode::capturing);
  EXPECT_EQ(buffer_->count(), 1);
  EXPECT_THAT(log(), ElementsAre(info("🔔 Focus change notification: Other (org.example.other)"),
                                 info("🔍 Classification: PROGRAMMATIC for Other"),
                                 info("🚨 THEFT DETECTED: Other (org.example.other) stole from Editor"),
                                 bufferInfo("Keystroke buffer: promoted from speculative to capturing"),
                                 info("🔒 Promoted buffer to capture mode, will replay to blessed app"),
                                 debugLine(LogCategory::focus,
                                           "Calling delegate.focusChange(programmaticTheftBy:blessedApp:)")));
  activate(desktop_.launch({.pid = 3}));
  EXPECT_THAT(delegate_->outcomes, ElementsAre("theft by 2 from 1", "theft by 3 from 1"));
}

TEST_F(FocusChangeObserverTest, WithNothingToProtectTheFirstActivationIsAccepted) {
  observer_->updateBlessedApp(std::nullopt);
  activate(other_);
  EXPECT_THAT(delegate_->outcomes, ElementsAre("user 2"));
  EXPECT_EQ(observer_->blessedApp(), other_);
  EXPECT_THAT(log(), ElementsAre(info("🔔 Focus change notification: Other (org.example.other)"),
                                 info("🔍 Classification: PROGRAMMATIC for Other"),
                                 info("ℹ️ No blessed app set, accepting: Other (org.example.other)"),
                                 debugLine(LogCategory::buffer, "Keystroke buffer: nothing to flush"),
                                 info("💨 Flushed 0 buffered keystroke(s) to Other")));
}

TEST_F(FocusChangeObserverTest, NothingIsStolenFromThisProgramsOwnWindows) {
  observer_->updateBlessedApp(desktop_.launch({.bundleIdentifier = applicationIdentifier}));
  typeHeldKey();
  activate(other_);
  EXPECT_EQ(desktop_.textIn(other_), "a");
  EXPECT_EQ(delegate_->outcomes, std::vector<std::string>{"user 2"});
}

TEST_F(FocusChangeObserverTest, TheBlessedAppComingBackByItselfIsAcceptedAndNoTheft) {
  desktop_.setFrontmost(other_);
  typeHeldKey();
  activate(editor_);
  EXPECT_THAT(delegate_->outcomes, ElementsAre("user 1"));
  EXPECT_EQ(desktop_.textIn(editor_), "a");
  EXPECT_THAT(log(), ElementsAre(info("🔔 Focus change notification: Editor (org.example.editor)"),
                                 info("🔍 Classification: PROGRAMMATIC for Editor"), flushing_, flushed_,
                                 info("💨 Flushed 1 buffered keystroke(s) to Editor")));
}

TEST_F(FocusChangeObserverTest, TheBlessedAppBroughtBackLeavesTheKeysToTheReplayAndNoOtherDoes) {
  const auto router = std::make_shared<EventRouter>(std::make_shared<GestureDetector>(64), buffer_);
  observer_->setEventRouter(router);
  router->expectReturnOf(editor_.processIdentifier());
  for (const bool recentGesture : {false, true}) {
    gestures_->recent = recentGesture;
    typeHeldKey();
    activate(editor_);
    EXPECT_EQ(log().size(), 2u) << "nothing but the notification and its label";
  }
  EXPECT_THAT(delegate_->outcomes, IsEmpty());
  EXPECT_EQ(buffer_->count(), 2);
  activate(other_);
  EXPECT_THAT(delegate_->outcomes, ElementsAre("user 2"));
  EXPECT_EQ(router->returningPID(), 0) << "the user went elsewhere";
  EXPECT_EQ(desktop_.textIn(other_), "aa");
}

TEST_F(FocusChangeObserverTest, WhilePausedActivationsLeaveNoTrace) {
  state_->setIsEnabled(false);
  typeHeldKey();
  activate(other_);
  EXPECT_THAT(log(), ElementsAre(debugLine(LogCategory::focus, "Focus guard is paused/disabled, ignoring activation")));
  EXPECT_THAT(whitelist_->asked, IsEmpty());
  EXPECT_EQ(buffer_->count(), 1);
  desktop_.advance(200ms);
  EXPECT_EQ(desktop_.textIn(other_), "a") << "released by the safety timeout";
  state_->setIsEnabled(true);
  activate(other_);
  EXPECT_THAT(delegate_->outcomes, ElementsAre("theft by 2 from 1"));
}

TEST_F(FocusChangeObserverTest, MissingNamesAndIdentifiersAreReplaced) {
  const auto anonymous = desktop_.launch({.pid = 3});
  const auto nameless = desktop_.launch({.pid = 4, .bundleIdentifier = "org.example.nameless"});
  activate(anonymous);
  EXPECT_THAT(whitelist_->asked, ElementsAre("unknown"));
  EXPECT_EQ(desktop_.timesLogged("🚨 THEFT DETECTED: unknown (unknown) stole from Editor"), 1u);
  observer_->updateBlessedApp(anonymous);
  activate(nameless);
  EXPECT_EQ(desktop_.timesLogged("🔔 Focus change notification: org.example.nameless (org.example.nameless)"), 1u);
  EXPECT_EQ(desktop_.timesLogged("🚨 THEFT DETECTED: org.example.nameless (org.example.nameless) stole from unknown"),
            1u);
}

TEST_F(FocusChangeObserverTest, ATheftWithoutADelegateIsAnErrorAndEndsByTheBuffersTimeout) {
  delegate_.reset();
  typeHeldKey();
  activate(other_);
  EXPECT_EQ(log().back(),
            errorLine(LogCategory::focus, "CRITICAL: Delegate is nil! Cannot call programmaticTheft handler"));
  EXPECT_EQ(buffer_->count(), 1);
  desktop_.advance(500ms);
  EXPECT_EQ(buffer_->mode(), BufferMode::passThrough);
  gestures_->recent = true;
  activate(other_);
  EXPECT_EQ(observer_->blessedApp(), other_);
}

TEST_F(FocusChangeObserverTest, ObservesOnceAndOnlyBetweenStartAndStop) {
  observer_->startObserving();
  activate(other_);
  EXPECT_EQ(delegate_->outcomes.size(), 1u);
  observer_->stopObserving();
  observer_->stopObserving();
  activate(other_);
  EXPECT_EQ(delegate_->outcomes.size(), 1u);
  EXPECT_EQ(observer_->blessedApp(), editor_);
  observer_->startObserving();
  EXPECT_EQ(desktop_.timesLogged("FocusChangeObserver already observing, skipping"), 1u);
  EXPECT_EQ(desktop_.timesLogged("FocusChangeObserver stopped observing"), 2u);
  EXPECT_EQ(desktop_.timesLogged("FocusChangeObserver started observing"), 1u);
}

TEST_F(FocusChangeObserverTest, AnActivationIsJudgedOneTurnLaterIfTheObserverStillExists) {
  desktop_.activate(other_);
  EXPECT_THAT(delegate_->outcomes, IsEmpty());
  observer_->stopObserving();
  desktop_.settle();
  EXPECT_THAT(delegate_->outcomes, ElementsAre("theft by 2 from 1"));

  observer_->startObserving();
  desktop_.activate(other_);
  observer_.reset();
  desktop_.settle();
  EXPECT_EQ(delegate_->outcomes.size(), 1u);
}

TEST_F(FocusChangeObserverTest, ANotificationWithoutAnApplicationIsDropped) {
  auto& center = platform::NSWorkspace::sharedWorkspace().notificationCenter();
  const std::string name = platform::NSWorkspaceDidActivateApplicationNotification;
  center.postNotification({name, {}});
  center.postNotification({name, {{platform::NSWorkspaceApplicationKey, std::string("Other")}}});
  desktop_.settle();
  EXPECT_THAT(log(), IsEmpty());
}

}  // namespace
}  // namespace varnoletKit
