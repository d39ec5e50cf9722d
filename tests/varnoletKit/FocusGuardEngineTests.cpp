#include <functional>
#include <tuple>

#include "GuardDoubles.h"
#include "varnoletKit/FocusGuardEngine.h"

namespace varnoletKit {
namespace {

struct ForwardingLog final : EventLogging {
  explicit ForwardingLog(std::function<void(const BlockedEvent&)> receiver) : receive(std::move(receiver)) {}
  void log(const BlockedEvent& event) override { receive(event); }
  const std::function<void(const BlockedEvent&)> receive;
};

// A user who types into an editor, applications that steal the focus, and the engine between them.
class FocusGuardEngineTest : public ::testing::Test {
 protected:
  FocusGuardEngineTest() { desktop_.setFrontmost(editor_); }

  void makeEngine(std::int64_t bufferTimeoutMs) {
    const auto teller = [this](const char* who) {
      return [this, who](const BlockedEvent& event) {
        EXPECT_FALSE(state_->isIntercepting());
        told_.push_back({who, event});
      };
    };
    engine_ = FocusGuardEngine::create(500, bufferTimeoutMs, whitelist_,
                                       std::make_shared<ForwardingLog>(teller("logged")), state_);
    engine_->onBlockOccurred = teller("reported");
  }
  // A running engine, and a user who has typed "-" long enough ago that nothing is left of it.
  void startGuarding(std::int64_t bufferTimeoutMs = 500) {
    makeEngine(bufferTimeoutMs);
    ASSERT_TRUE(engine_->start());
    desktop_.settle();
    desktop_.type("-");
    desktop_.advance(1s);
    ASSERT_EQ(textIn(editor_), "-");
    desktop_.clearLog();
  }
  // The focus moves, the user types on, and only then the desktop tells of it.
  void stealDuring(const NSRunningApplication& thief, std::string_view keys) {
    desktop_.setFrontmost(thief);
    desktop_.type(keys);
    desktop_.activate(thief);
    desktop_.settle();
  }
  std::string textIn(const NSRunningApplication& app) const { return desktop_.textIn(app); }

  struct Told {
    std::string who;
    BlockedEvent event;
  };

  SimulatedDesktop desktop_;
  const NSRunningApplication editor_ =
      desktop_.launch({.bundleIdentifier = "org.example.editor", .localizedName = "Editor"});
  const NSRunningApplication thief_ =
      desktop_.launch({.bundleIdentifier = "org.example.thief", .localizedName = "Thief"});
  const NSRunningApplication accomplice_ = desktop_.launch({.localizedName = "Accomplice"});
  std::shared_ptr<StubWhitelist> whitelist_ = std::make_shared<StubWhitelist>();
  std::shared_ptr<FocusGuardState> state_ = std::make_shared<FocusGuardState>();
  // What the event log and the application were told of blocks, in this order.
  std::vector<Told> told_;
  std::shared_ptr<FocusGuardEngine> engine_;
};

TEST_F(FocusGuardEngineTest, ASentenceArrivesWholeAndTheTheftIsReported) {
  startGuarding();
  desktop_.type("he");
  stealDuring(thief_, "l");
  EXPECT_TRUE(state_->isIntercepting());
  EXPECT_EQ(state_->blockedToday(), 1);
  EXPECT_EQ(state_->lastBlockedApp(), "Thief");
  EXPECT_EQ(state_->lastBlockedTime(), platform::dateNow());
  desktop_.advance(99ms);
  desktop_.type("lo");
  EXPECT_EQ(textIn(editor_), "-he");
  EXPECT_TRUE(told_.empty());
  desktop_.advance(1ms);

  EXPECT_EQ(textIn(editor_), "-hello");
  EXPECT_EQ(textIn(thief_), "");
  EXPECT_FALSE(state_->isIntercepting());
  const BlockedEvent expected{
      .id = "00000000-0000-4000-8000-000000000001",
      .timestamp = platform::dateNow(),
      .thiefBundleID = "org.example.thief",
      .thiefName = "Thief",
      .protectedBundleID = "org.example.editor",
      .protectedName = "Editor",
      .keystrokesBuffered = 6,
      .reactivationLatencyMs = 100,
  };
  ASSERT_EQ(told_.size(), 2u);
  EXPECT_EQ(told_[0].who, "logged");
  EXPECT_EQ(told_[0].event, expected);
  EXPECT_EQ(told_[1].who, "reported");
  EXPECT_EQ(told_[1].event, expected);

  desktop_.type("!");
  desktop_.advance(2s);
  EXPECT_EQ(textIn(editor_), "-hello!");
  EXPECT_EQ(state_->blockedToday(), 1) << "the editor coming back is no theft";
  EXPECT_EQ(desktop_.activationRequests(editor_), 1u);
}

TEST_F(FocusGuardEngineTest, TheLogTellsTheRoadOfATheftInItsOrder) {
  startGuarding();
  stealDuring(thief_, "");
  desktop_.advance(100ms);
  auto log = logOf(desktop_, {LogCategory::focus});
  std::erase_if(log, [](const LogLine& line) { return line.message.starts_with("AXObserver"); });
  const auto info = [](std::string message) { return infoLine(LogCategory::focus, std::move(message)); };
  EXPECT_THAT(
      log, ElementsAre(info("🔔 Focus change notification: Thief (org.example.thief)"),
                       info("🔍 Classification: PROGRAMMATIC for Thief"),
                       info("🚨 THEFT DETECTED: Thief (org.example.thief) stole from Editor"),
                       info("🔒 Promoted buffer to capture mode, will replay to blessed app"),
                       debugLine(LogCategory::focus, "Calling delegate.focusChange(programmaticTheftBy:blessedApp:)"),
                       info("🔴 handleProgrammaticTheft called - thief: Thief, blessed: Editor"),
                       info("🛡️  Beginning intercept for Thief → Editor"),
                       info("Re-activation call took 0ms for Editor"),
                       info("🔔 Focus change notification: Editor (org.example.editor)"),
                       info("🔍 Classification: PROGRAMMATIC for Editor"),
                       info("Re-activation confirmed after 1 poll(s), total latency: 100ms")));
  ASSERT_EQ(told_.size(), 2u);
  EXPECT_EQ(told_[0].event.keystrokesBuffered, 0);
}

TEST_F(FocusGuardEngineTest, WhatTheUserActivatesGetsTheKeysAndIsGuardedFromThenOn) {
  startGuarding();
  desktop_.clickMouse();
  stealDuring(thief_, "hi");
  EXPECT_EQ(textIn(thief_), "hi");
  EXPECT_EQ(state_->blessedApp(), thief_);
  desktop_.advance(1s);
  stealDuring(editor_, "x");
  desktop_.advance(1s);
  EXPECT_EQ(textIn(thief_), "hix");
  EXPECT_EQ(state_->lastBlockedApp(), "Editor");
}

TEST_F(FocusGuardEngineTest, WhatIsWhitelistedGetsTheKeysToo) {
  startGuarding();
  whitelist_->entries = {"org.example.thief"};
  stealDuring(thief_, "hi");
  EXPECT_EQ(textIn(thief_), "hi");
  EXPECT_EQ(state_->blessedApp(), thief_);
  EXPECT_EQ(state_->blockedToday(), 0);
}

TEST_F(FocusGuardEngineTest, TwoThievesAtOnceAreUndoneEachOnItsOwn) {
  startGuarding();
  desktop_.whenAskedToActivate(editor_, ActivationBehaviour::obeysAfter(80ms));
  stealDuring(thief_, "a");
  desktop_.advance(50ms);
  stealDuring(accomplice_, "b");
  EXPECT_EQ(state_->blockedToday(), 2);
  EXPECT_EQ(state_->lastBlockedApp(), "Accomplice");
  desktop_.advance(1s);
  EXPECT_EQ(textIn(editor_), "-ab");
  EXPECT_EQ(textIn(thief_) + textIn(accomplice_), "");
  EXPECT_FALSE(state_->isIntercepting());
  EXPECT_EQ(desktop_.activationRequests(editor_), 2u);
  ASSERT_EQ(told_.size(), 4u);
  EXPECT_EQ(told_[0].event.thiefName, "Thief");
  EXPECT_EQ(told_[0].event.keystrokesBuffered, 4);
  EXPECT_EQ(told_[2].event.thiefName, "Accomplice");
  EXPECT_EQ(told_[2].event.thiefBundleID, "unknown");
  EXPECT_EQ(told_[2].event.keystrokesBuffered, 0);
}

TEST_F(FocusGuardEngineTest, TheSameThiefAgainBeforeTheReplayIsThroughGetsNoKeyEither) {
  startGuarding();
  engine_->onBlockOccurred = [this](const BlockedEvent&) {
    if (state_->blockedToday() == 1) desktop_.setFrontmost(thief_);
  };
  stealDuring(thief_, "a");
  desktop_.advance(100ms);
  desktop_.type("b");
  desktop_.activate(thief_);
  desktop_.advance(1s);
  EXPECT_EQ(textIn(thief_), "");
  EXPECT_EQ(textIn(editor_), "-ab");
  EXPECT_EQ(state_->blockedToday(), 2);
}

TEST_F(FocusGuardEngineTest, ASlowReturnKeepsTheKeysThatComeOnlyAfterTheTheftWasJudged) {
  startGuarding();
  desktop_.whenAskedToActivate(editor_, ActivationBehaviour::obeysAfter(350ms));
  stealDuring(thief_, "");
  desktop_.advance(50ms);
  desktop_.type("a");
  desktop_.advance(250ms);
  EXPECT_EQ(textIn(thief_), "") << "nobody but the judgement may release the keys of a judged theft";
  desktop_.advance(1s);
  EXPECT_EQ(textIn(editor_), "-a");
  EXPECT_FALSE(state_->isIntercepting());
}

TEST_F(FocusGuardEngineTest, OnceAnotherIsAcceptedItsKeysAreNotHeldForTheOneThatWasToComeBack) {
  for (const bool byClick : {false, true}) {
    makeEngine(200);
    ASSERT_TRUE(engine_->start());
    desktop_.activate(editor_);
    desktop_.advance(2s);
    desktop_.whenAskedToActivate(editor_, ActivationBehaviour::ignores());
    stealDuring(thief_, "");
    byClick ? desktop_.clickMouse() : desktop_.advance(250ms);
    desktop_.type("a");
    desktop_.advance(2s);
    EXPECT_EQ(textIn(thief_), byClick ? "aa" : "a");
    engine_->stop();
  }
}

TEST_F(FocusGuardEngineTest, KeysOfTheReturnedAppWaitForTheReplayHoweverLateItIs) {
  startGuarding();
  stealDuring(thief_, "a");
  desktop_.type("b");  // the editor is back, and not yet seen to be
  EXPECT_EQ(engine_->keystrokeBuffer().mode(), BufferMode::capturing);
  desktop_.advance(1s);
  EXPECT_EQ(textIn(editor_), "-ab");
}

TEST_F(FocusGuardEngineTest, ATimeoutThatIsToldLateAcceptsNobodyWhoIsStillToBeJudged) {
  startGuarding();
  desktop_.setFrontmost(thief_);
  desktop_.type("a");
  engine_->keystrokeBufferDidTimeout();  // of a hold before this one
  EXPECT_EQ(state_->blessedApp(), editor_);
  desktop_.activate(thief_);
  desktop_.advance(1s);
  EXPECT_EQ(state_->blockedToday(), 1);
  EXPECT_EQ(textIn(editor_), "-a");
}

TEST_F(FocusGuardEngineTest, ABlessedAppThatQuitsLeavesTheGuardToWhoeverIsInFront) {
  startGuarding();
  desktop_.whenAskedToActivate(editor_, ActivationBehaviour::ignores());
  stealDuring(thief_, "a");
  desktop_.quit(editor_);
  desktop_.advance(100ms);
  EXPECT_FALSE(state_->isIntercepting());
  EXPECT_EQ(state_->blessedApp(), thief_);
  EXPECT_EQ(state_->blockedToday(), 1);
  desktop_.type("b");
  desktop_.advance(1s);
  EXPECT_TRUE(told_.empty());
  EXPECT_EQ(textIn(thief_), "b") << "what was typed before was not for the thief";

  // Outside of an intercept it stays the blessed app until the next theft finds it gone.
  desktop_.quit(thief_);
  stealDuring(accomplice_, "");
  EXPECT_EQ(state_->blockedToday(), 2);
  EXPECT_EQ(state_->blessedApp(), accomplice_);
  EXPECT_TRUE(told_.empty());
}

TEST_F(FocusGuardEngineTest, AnUnconfirmedInterceptStaysOpenUntilTheBuffersTimeout) {
  startGuarding(800);
  desktop_.whenAskedToActivate(editor_, ActivationBehaviour::ignores());
  stealDuring(thief_, "a");
  desktop_.advance(799ms);
  EXPECT_EQ(desktop_.timesLogged("Re-activation not confirmed after 5 attempts (500ms)"), 1u);
  EXPECT_TRUE(state_->isIntercepting());
  EXPECT_EQ(engine_->keystrokeBuffer().count(), 2);
  desktop_.advance(1ms);
  EXPECT_FALSE(state_->isIntercepting());
  EXPECT_EQ(state_->blessedApp(), thief_);
  EXPECT_EQ(desktop_.timesLogged("Intercept timed out — blessed app updated to current frontmost"), 1u);
  desktop_.advance(1s);
  EXPECT_EQ(textIn(thief_) + textIn(editor_), "-");
  EXPECT_TRUE(told_.empty());
}

TEST_F(FocusGuardEngineTest, ABlessedAppThatComesBackLateGetsItsKeysAllTheSame) {
  startGuarding(800);
  desktop_.whenAskedToActivate(editor_, ActivationBehaviour::ignores());
  stealDuring(thief_, "a");
  desktop_.advance(600ms);
  desktop_.activate(editor_);
  desktop_.settle();
  EXPECT_EQ(textIn(editor_), "-a");
  desktop_.advance(1s);
  EXPECT_FALSE(state_->isIntercepting());
  EXPECT_EQ(state_->blessedApp(), editor_);
}

TEST_F(FocusGuardEngineTest, AConfirmationAfterTheTimeoutIsStillABlockWithNothingToReplay) {
  startGuarding(50);
  stealDuring(thief_, "a");
  desktop_.advance(1s);
  EXPECT_EQ(textIn(editor_), "-");
  ASSERT_EQ(told_.size(), 2u);
  EXPECT_EQ(told_[0].event.keystrokesBuffered, 0);
  EXPECT_EQ(state_->blessedApp(), editor_);
}

TEST_F(FocusGuardEngineTest, AClickDuringAnInterceptAcceptsTheNewApplication) {
  startGuarding();
  desktop_.whenAskedToActivate(editor_, ActivationBehaviour::ignores());
  stealDuring(thief_, "a");
  desktop_.clickMouse();
  desktop_.settle();
  EXPECT_FALSE(state_->isIntercepting());
  EXPECT_EQ(state_->blessedApp(), thief_);
  EXPECT_EQ(desktop_.timesLogged("Intercept cancelled by mouse click — user accepted new app"), 1u);
  desktop_.type("b");
  desktop_.advance(1s);
  EXPECT_EQ(textIn(thief_), "b");
  EXPECT_TRUE(told_.empty());
}

TEST_F(FocusGuardEngineTest, ATimeoutWithNobodyInFrontLeavesNothingToProtect) {
  startGuarding();
  desktop_.whenAskedToActivate(editor_, ActivationBehaviour::ignores());
  stealDuring(thief_, "a");
  desktop_.setFrontmost(std::nullopt);
  desktop_.advance(500ms);
  EXPECT_EQ(state_->blessedApp(), std::nullopt);
  stealDuring(accomplice_, "");
  EXPECT_EQ(state_->blockedToday(), 1);
  EXPECT_EQ(state_->blessedApp(), accomplice_);
}

TEST_F(FocusGuardEngineTest, WithNoTheftAnUnjudgedHoldIsReleasedAndItsApplicationAccepted) {
  startGuarding();
  desktop_.setFrontmost(accomplice_);  // a change that nobody announces
  desktop_.type("a");
  desktop_.advance(200ms);
  EXPECT_EQ(textIn(accomplice_), "a");
  EXPECT_EQ(state_->blessedApp(), accomplice_);
}

TEST_F(FocusGuardEngineTest, APauseInTheMiddleLetsTheInterceptFinishAndIgnoresWhatFollows) {
  startGuarding();
  stealDuring(thief_, "a");
  state_->setIsEnabled(false);
  desktop_.advance(100ms);
  EXPECT_EQ(textIn(editor_), "-a");
  EXPECT_EQ(told_.size(), 2u);
  stealDuring(thief_, "b");
  desktop_.advance(200ms);
  EXPECT_EQ(textIn(thief_), "b");
  EXPECT_EQ(state_->blockedToday(), 1);
  EXPECT_FALSE(engine_->start()) << "still running, and still paused";
}

TEST_F(FocusGuardEngineTest, AStopInTheMiddleDropsTheKeysAndLetsTheReactivationComplete) {
  startGuarding();
  stealDuring(thief_, "a");
  desktop_.clearLog();
  engine_->stop();
  EXPECT_FALSE(state_->isEnabled());
  EXPECT_FALSE(state_->isIntercepting());
  EXPECT_EQ(engine_->keystrokeBuffer().count(), 0);
  desktop_.advance(1s);
  EXPECT_EQ(textIn(editor_), "-");
  ASSERT_EQ(told_.size(), 2u);
  EXPECT_EQ(told_[0].event.keystrokesBuffered, 0);
}

TEST_F(FocusGuardEngineTest, StoppingStopsEveryPartInItsOrderWhetherItRunsOrNot) {
  makeEngine(500);
  desktop_.clearLog();
  engine_->stop();
  EXPECT_FALSE(state_->isEnabled());
  EXPECT_THAT(desktop_.logLines(),
              ElementsAre(infoLine(LogCategory::lifecycle, "EventTap torn down"),
                          debugLine(LogCategory::focus, "FocusChangeObserver stopped observing"),
                          debugLine(LogCategory::focus, "AXObserverManager stopped monitoring"),
                          debugLine(LogCategory::buffer, "Keystroke buffer: capture cancelled, buffer cleared"),
                          infoLine(LogCategory::lifecycle, "FocusGuardEngine stopped")));
}

TEST_F(FocusGuardEngineTest, StartingTwiceOnlyTells) {
  startGuarding();
  EXPECT_TRUE(engine_->start());
  EXPECT_THAT(
      desktop_.logLines(),
      ElementsAre(debugLine(LogCategory::lifecycle, "FocusGuardEngine.start() called but already running — skipping")));
}

TEST_F(FocusGuardEngineTest, WithoutItsTapTheEngineRunsButProtectsNothingUntilItIsRestarted) {
  makeEngine(500);
  desktop_.grantInputMonitoring(false);
  EXPECT_FALSE(engine_->start());
  EXPECT_FALSE(state_->isEnabled());
  EXPECT_EQ(desktop_.timesLogged("FocusGuardEngine: EventTap creation failed — engine cannot protect"), 1u);
  EXPECT_EQ(desktop_.timesLogged("FocusGuardEngine started (tap: false)"), 1u);
  stealDuring(thief_, "");
  EXPECT_EQ(desktop_.timesLogged("Focus guard is paused/disabled, ignoring activation"), 1u);
  EXPECT_EQ(desktop_.timesLogged("AXObserverManager finished registering observers for 3 apps"), 1u);

  desktop_.grantInputMonitoring();
  EXPECT_FALSE(engine_->start());
  engine_->stop();
  EXPECT_TRUE(engine_->start());
  EXPECT_TRUE(state_->isEnabled());
}

TEST_F(FocusGuardEngineTest, AThiefWithoutANameIsShownByItsIdentifierAndLoggedAsUnknown) {
  startGuarding();
  for (const auto& [identifier, shown, logged] :
       std::initializer_list<std::tuple<std::optional<std::string>, std::optional<std::string>, std::string>>{
           {"org.example.nameless", "org.example.nameless", "org.example.nameless"},
           {std::nullopt, std::nullopt, "unknown"}}) {
    told_.clear();
    stealDuring(desktop_.launch({.bundleIdentifier = identifier}), "");
    EXPECT_EQ(state_->lastBlockedApp(), shown);
    desktop_.advance(1s);
    ASSERT_EQ(told_.size(), 2u);
    EXPECT_EQ(told_[0].event.thiefName, "unknown");
    EXPECT_EQ(told_[0].event.thiefBundleID, logged);
  }
  EXPECT_EQ(state_->blockedToday(), 2);
}

TEST_F(FocusGuardEngineTest, WithoutLoggerAndHandlerATheftIsUndoneAllTheSame) {
  engine_ = FocusGuardEngine::create(500, 500, whitelist_, nullptr, state_);
  ASSERT_TRUE(engine_->start());
  desktop_.settle();
  stealDuring(thief_, "a");
  desktop_.advance(1s);
  EXPECT_EQ(textIn(editor_), "a");
  EXPECT_FALSE(state_->isIntercepting());
}

TEST_F(FocusGuardEngineTest, AnEngineThatIsReleasedLeavesATheftAloneButFinishesWhatItHasBegun) {
  startGuarding();
  engine_->handleProgrammaticTheft(thief_, editor_);
  engine_.reset();
  desktop_.advance(1s);
  EXPECT_EQ(desktop_.activationRequests(editor_), 0u);

  makeEngine(500);
  const std::weak_ptr<FocusGuardEngine> released = engine_;
  engine_->handleProgrammaticTheft(thief_, editor_);
  desktop_.settle();
  engine_.reset();
  EXPECT_FALSE(released.expired());
  desktop_.advance(1s);
  EXPECT_TRUE(released.expired());
  EXPECT_EQ(told_.size(), 2u);
}

}  // namespace
}  // namespace varnoletKit
