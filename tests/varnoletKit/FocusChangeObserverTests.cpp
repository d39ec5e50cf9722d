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
  explicit RecordedOutcomes(std::shared_ptr<ExpectedReturn> expected) : expectedReturn(std::move(expected)) {}
  void focusChangeUserInitiated(const NSRunningApplication& app) override { record("user", app); }
  void focusChangeProgrammaticTheftBy(const NSRunningApplication& thief, const NSRunningApplication& blessed) override {
    record("theft", thief);
    outcomes.back() += " from " + std::to_string(blessed.processIdentifier());
    EXPECT_EQ(expectedReturn->pid(), blessed.processIdentifier());
  }
  void focusChangeWhitelisted(const NSRunningApplication& app) override { record("whitelisted", app); }
  void record(const std::string& kind, const NSRunningApplication& app) {
    outcomes.push_back(kind + " " + std::to_string(app.processIdentifier()));
  }
  const std::shared_ptr<ExpectedReturn> expectedReturn;
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
    return std::make_shared<FocusChangeObserver>(gestures_, whitelist_, 350, state_, delegate_, buffer_, expected_,
                                                 router_);
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
  std::vector<LogLine> log() const { return logOf(desktop_, {LogCategory::focus}); }

  SimulatedDesktop desktop_;
  const NSRunningApplication editor_ =
      desktop_.launch({.pid = 1, .bundleIdentifier = "org.example.editor", .localizedName = "Editor"});
  const NSRunningApplication other_ =
      desktop_.launch({.pid = 2, .bundleIdentifier = "org.example.other", .localizedName = "Other"});
  const NSRunningApplication self_ =
      desktop_.launch({.pid = 3, .bundleIdentifier = applicationIdentifier, .localizedName = "Varnolet"});
  const NSRunningApplication nameless_ = desktop_.launch({.pid = 4, .bundleIdentifier = "org.example.nameless"});
  const NSRunningApplication anonymous_ = desktop_.launch({.pid = 5});
  std::shared_ptr<StubGestures> gestures_ = std::make_shared<StubGestures>();
  std::shared_ptr<StubWhitelist> whitelist_ = std::make_shared<StubWhitelist>();
  std::shared_ptr<FocusGuardState> state_ = std::make_shared<FocusGuardState>();
  std::shared_ptr<ExpectedReturn> expected_ = std::make_shared<ExpectedReturn>();
  std::shared_ptr<RecordedOutcomes> delegate_ = std::make_shared<RecordedOutcomes>(expected_);
  std::shared_ptr<KeystrokeBuffer> buffer_ =
      std::make_shared<KeystrokeBuffer>(500, std::weak_ptr<KeystrokeBufferDelegate>());
  std::shared_ptr<EventRouter> router_ =
      std::make_shared<EventRouter>(std::make_shared<GestureDetector>(1), buffer_, expected_);
  std::shared_ptr<TapOnBuffer> tap_ = std::make_shared<TapOnBuffer>(buffer_);
  EventTapManager eventTap_{tap_};
  std::shared_ptr<FocusChangeObserver> observer_;
};

TEST_F(FocusChangeObserverTest, StartsWithWhoeverIsInFrontUnlessThatIsThisProgram) {
  for (const auto& [inFront, blessed] :
       std::initializer_list<std::pair<std::optional<NSRunningApplication>, std::optional<NSRunningApplication>>>{
           {editor_, editor_}, {self_, std::nullopt}, {anonymous_, anonymous_}, {std::nullopt, std::nullopt}}) {
    desktop_.setFrontmost(inFront);
    EXPECT_EQ(makeObserver()->blessedApp(), blessed);
  }
}

TEST_F(FocusChangeObserverTest, JudgesByGestureThenWhitelistThenWhetherThereIsAnythingToProtect) {
  const std::string other = "Other (org.example.other)", nameless = "org.example.nameless (org.example.nameless)";
  const std::string theft = "🚨 THEFT DETECTED: ", listed = "✅ Whitelisted programmatic activation: ";
  const std::optional<NSRunningApplication> nobody;
  struct Case {
    std::optional<NSRunningApplication> blessed;
    bool isGestureRecent;
    const char* whitelisted;
    NSRunningApplication activated;
    std::string who;
    std::string verdict;
    const char* outcome;
  };
  for (const auto& c : {
           Case{editor_, true, "org.example.other", other_, other, "✅ User-initiated activation: " + other, "user 2"},
           Case{editor_, false, "org.example.other", other_, other, listed + other, "whitelisted 2"},
           Case{editor_, false, "unknown", anonymous_, "unknown (unknown)", listed + "unknown (unknown)",
                "whitelisted 5"},
           Case{other_, false, "", other_, other, "↩️ Came back by itself, accepting: Other", "user 2"},
           Case{nobody, false, "", other_, other, "ℹ️ No blessed app set, accepting: " + other, "user 2"},
           Case{editor_, false, "", other_, other, theft + other + " stole from Editor", "theft 2 from 1"},
           Case{self_, false, "", other_, other, theft + other + " stole from Varnolet", "theft 2 from 3"},
           Case{anonymous_, false, "", nameless_, nameless, theft + nameless + " stole from unknown", "theft 4 from 5"},
       }) {
    delegate_->outcomes.clear();
    observer_->updateBlessedApp(c.blessed);
    gestures_->recent = c.isGestureRecent;
    whitelist_->entries = {c.whitelisted};
    const auto earlier = expected_->expect(99);
    typeHeldKey();
    activate(c.activated);

    const bool isTheft = c.verdict.starts_with(theft);
    const std::string name = c.who.substr(0, c.who.find(' '));
    std::string label = c.isGestureRecent ? "USER-INITIATED for " : "PROGRAMMATIC for ";
    label += name;
    const auto info = [](std::string message) { return infoLine(LogCategory::focus, std::move(message)); };
    std::vector<LogLine> lines{info("🔔 Focus change notification: " + c.who), info("🔍 Classification: " + label),
                               info(c.verdict),
                               info(isTheft ? "🔒 Promoted buffer to capture mode, will replay to blessed app"
                                            : "💨 Flushed 1 buffered keystroke(s) to " + name)};
    if (isTheft) {
      lines.push_back(debugLine(LogCategory::focus, "Calling delegate.focusChange(programmaticTheftBy:blessedApp:)"));
    }
    EXPECT_EQ(log(), lines);
    EXPECT_THAT(delegate_->outcomes, ElementsAre(c.outcome));
    EXPECT_EQ(observer_->blessedApp(), isTheft ? c.blessed : c.activated);
    EXPECT_EQ(buffer_->mode(), isTheft ? BufferMode::capturing : BufferMode::passThrough);
    EXPECT_EQ(expected_->pid(), 0) << "the earlier expectation is over, and this delegate brings nobody back";
    buffer_->cancelCapture();
  }
}

TEST_F(FocusChangeObserverTest, WhoeverIsExpectedBackLeavesTheKeysToTheReplay) {
  const auto expectation = expected_->expect(editor_.processIdentifier());
  for (const bool recentGesture : {false, true}) {
    gestures_->recent = recentGesture;
    typeHeldKey();
    activate(editor_);
    ASSERT_EQ(log().size(), 3u);
    EXPECT_EQ(log().back(),
              infoLine(LogCategory::focus, "↩️ Brought back, leaving held keys to the replay: Editor"));
  }
  EXPECT_THAT(delegate_->outcomes, IsEmpty());
  EXPECT_EQ(buffer_->count(), 2);
  EXPECT_TRUE(expected_->isCurrent(expectation));
}

TEST_F(FocusChangeObserverTest, WhilePausedActivationsLeaveNoTrace) {
  state_->setIsEnabled(false);
  typeHeldKey();
  activate(other_);
  EXPECT_THAT(log(), ElementsAre(debugLine(LogCategory::focus, "Focus guard is paused/disabled, ignoring activation")));
  EXPECT_THAT(whitelist_->asked, IsEmpty());
  EXPECT_EQ(buffer_->count(), 1);
  state_->setIsEnabled(true);
  activate(other_);
  EXPECT_THAT(delegate_->outcomes, ElementsAre("theft 2 from 1"));
}

TEST_F(FocusChangeObserverTest, ATheftWithoutADelegateIsAnError) {
  delegate_.reset();
  typeHeldKey();
  activate(other_);
  EXPECT_EQ(log().back(),
            errorLine(LogCategory::focus, "CRITICAL: Delegate is nil! Cannot call programmaticTheft handler"));
  EXPECT_EQ(buffer_->mode(), BufferMode::capturing);
}

TEST_F(FocusChangeObserverTest, ObservesOnceAndOnlyBetweenStartAndStop) {
  observer_->startObserving();
  activate(other_);
  EXPECT_EQ(delegate_->outcomes.size(), 1u);
  observer_->stopObserving();
  observer_->stopObserving();
  activate(other_);
  EXPECT_EQ(delegate_->outcomes.size(), 1u);
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
  EXPECT_EQ(delegate_->outcomes.size(), 1u);

  observer_->startObserving();
  desktop_.activate(other_);
  observer_.reset();
  activate(other_);
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
