#include <functional>
#include <map>
#include <sstream>

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
struct Scene {
  Scene() { desktop.setFrontmost(editor); }

  void makeEngine(std::int64_t bufferTimeoutMs) {
    const auto teller = [this](const char* who) {
      return [this, who](const BlockedEvent& event) { told.push_back({who, event, state->isIntercepting()}); };
    };
    engine = FocusGuardEngine::create(500, bufferTimeoutMs, whitelist,
                                      std::make_shared<ForwardingLog>(teller("logged")), state);
    engine->onBlockOccurred = teller("reported");
  }
  // A running engine, and a user who has typed "-" long enough ago that nothing is left of it.
  void startGuarding(std::int64_t bufferTimeoutMs = 500) {
    makeEngine(bufferTimeoutMs);
    ASSERT_TRUE(engine->start());
    play("0 type:- 1000");
    ASSERT_EQ(textIn(editor), "-");
    desktop.clearLog();
  }
  // "thief:ab": the focus moves to the thief, the user types "ab", and only then the desktop tells of it.
  // "front:thief": the desktop tells nobody. "open", "closed": whether the engine intercepts now. A number: wait, in
  // milliseconds. "quit" is the editor's.
  void play(const std::string& story) {
    std::istringstream words(story);
    for (std::string word; words >> word;) {
      const std::string verb = word.substr(0, word.find(':'));
      const std::string rest = word.substr(std::min(verb.size() + 1, word.size()));
      if (std::isdigit(verb.front())) {
        desktop.advance(std::chrono::milliseconds(std::stoi(verb)));
      } else if (verb == "open" || verb == "closed") {
        EXPECT_EQ(state->isIntercepting(), verb == "open") << story;
      } else if (verb == "type") {
        desktop.type(rest);
      } else if (verb == "front") {
        desktop.setFrontmost(applications.at(rest));
      } else if (const auto act = acts.find(verb); act != acts.end()) {
        act->second();
      } else {
        desktop.setFrontmost(applications.at(verb));
        desktop.type(rest);
        desktop.activate(*applications.at(verb));
      }
      desktop.settle();
    }
  }
  std::string textIn(const NSRunningApplication& app) const { return desktop.textIn(app); }
  // How many keys were replayed with each block so far.
  std::string replayed() const {
    std::string counts;
    for (const auto& [who, event, wasIntercepting] : told) {
      if (who == "reported") counts += " " + std::to_string(event.keystrokesBuffered);
    }
    return counts;
  }

  struct Told {
    std::string who;
    BlockedEvent event;
    bool wasIntercepting;
  };

  InterruptedDesktop desktop;
  const NSRunningApplication editor =
      desktop.launch({.bundleIdentifier = "org.example.editor", .localizedName = "Editor"});
  const NSRunningApplication thief =
      desktop.launch({.bundleIdentifier = "org.example.thief", .localizedName = "Thief"});
  const NSRunningApplication other =
      desktop.launch({.bundleIdentifier = "org.example.other", .localizedName = "Other"});
  const std::map<std::string, std::optional<NSRunningApplication>> applications{
      {"editor", editor},
      {"thief", thief},
      {"other", other},
      {"nobody", std::nullopt},
      {"nameless", desktop.launch({.bundleIdentifier = "org.example.nameless"})},
      {"anonymous", desktop.launch({})}};
  const std::map<std::string, std::function<void()>> acts{{"click", [this] { desktop.clickMouse(); }},
                                                          {"quit", [this] { desktop.quit(editor); }},
                                                          {"pause", [this] { state->setIsEnabled(false); }},
                                                          {"stop", [this] { engine->stop(); }},
                                                          {"start", [this] { engine->start(); }},
                                                          {"timeout", [this] { engine->keystrokeBufferDidTimeout(); }}};
  std::shared_ptr<StubWhitelist> whitelist = std::make_shared<StubWhitelist>();
  std::shared_ptr<FocusGuardState> state = std::make_shared<FocusGuardState>();
  // What the event log and the application were told of blocks, in this order.
  std::vector<Told> told;
  std::shared_ptr<FocusGuardEngine> engine;
};

class FocusGuardEngineTest : public ::testing::Test, protected Scene {};

TEST_F(FocusGuardEngineTest, ASentenceArrivesWholeAndTheTheftIsReported) {
  startGuarding();
  play("type:he thief:l open");
  EXPECT_EQ(state->blockedToday(), 1);
  EXPECT_EQ(state->lastBlockedApp(), "Thief");
  EXPECT_EQ(state->lastBlockedTime(), platform::dateNow());
  play("99 type:lo");
  EXPECT_EQ(textIn(editor), "-he");
  EXPECT_TRUE(told.empty());
  play("1 closed");

  EXPECT_EQ(textIn(editor), "-hello");
  EXPECT_EQ(textIn(thief), "");
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
  ASSERT_EQ(told.size(), 2u);
  EXPECT_EQ(told[0].who, "logged");
  for (const auto& [who, event, wasIntercepting] : told) {
    EXPECT_EQ(event, expected);
    EXPECT_FALSE(wasIntercepting);
  }

  play("type:! 2000");
  EXPECT_EQ(textIn(editor), "-hello!");
  EXPECT_EQ(state->blockedToday(), 1) << "the editor coming back is no theft";
  EXPECT_EQ(desktop.activationRequests(editor), 1u);
}

TEST_F(FocusGuardEngineTest, TheLogTellsTheRoadOfATheftInItsOrder) {
  startGuarding();
  play("thief: 100");
  auto log = logOf(desktop, {LogCategory::focus});
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
                       info("↩️ Brought back, leaving held keys to the replay: Editor"),
                       info("Re-activation confirmed after 1 poll(s), total latency: 100ms")));
}

TEST_F(FocusGuardEngineTest, WhatIsAcceptedGetsTheKeysAndIsGuardedFromThenOn) {
  startGuarding();
  whitelist->entries = {"org.example.other"};
  play("other:hi");
  EXPECT_EQ(textIn(other), "hi");
  EXPECT_EQ(state->blessedApp(), other);
  play("click thief:ho");
  EXPECT_EQ(textIn(thief), "ho");
  EXPECT_EQ(state->blessedApp(), thief);
  play("1000 editor:x 1000");
  EXPECT_EQ(textIn(thief), "hox");
  EXPECT_EQ(state->lastBlockedApp(), "Editor");
}

// The user turns to the other application, which is whitelisted, wherever a story says so.
TEST(FocusGuardEngineIntercept, EndsWithItsKeysWhereTheyBelongAndTheRightBlessedApp) {
  const auto atOnce = ActivationBehaviour::obeysAtOnce();
  const auto late = ActivationBehaviour::obeysAfter(250ms);
  const auto never = ActivationBehaviour::ignores();
  struct Case {
    const char* title;
    std::int64_t bufferTimeoutMs;
    ActivationBehaviour editor;
    const char* story;
    const char* texts;  // in the editor, the thief and the other one
    const char* blessed;
    const char* replayed;  // with each block
  };
  for (const auto& c : {
           Case{"back, but not seen yet", 500, atOnce, "thief:a type:b", "-ab,,", "editor", " 4"},
           Case{"slow, and keys only after the judgement", 500, late, "thief: 50 type:a", "-a,,", "editor", " 2"},
           Case{"seen after the timeout", 50, atOnce, "thief:a", "-,,", "editor", " 0"},
           Case{"never back", 800, never, "thief:a 799 open 1 closed type:b", "-,b,", "thief", ""},
           Case{"never back, no key in time", 200, never, "thief: 250 closed type:b front:other type:c", "-,b,c",
                "other", ""},
           Case{"back after the timeout", 200, late, "thief:a 350 closed type:b", "-b,,", "editor", " 0"},
           Case{"back by itself", 800, never, "thief:a 600 editor: type:b", "-ab,,", "editor", ""},
           Case{"nobody in front", 500, never, "thief:a front:nobody 500 thief: closed", "-,,", "thief", ""},
           Case{"quits", 500, never, "thief:a quit 100 closed type:b", "-,b,", "thief", ""},
           Case{"quits before the theft", 500, never, "quit thief: closed type:b", "-,b,", "thief", ""},
           Case{"a click", 500, never, "thief:a click closed type:b", "-,b,", "thief", ""},
           Case{"a click before any key", 500, never, "thief: click type:b 200 click", "-,b,", "thief", ""},
           Case{"a pause", 500, atOnce, "thief:a pause 100 thief:b", "-a,b,", "thief", " 2"},
           Case{"a stop", 500, atOnce, "thief:a stop", "-,,", "editor", " 0"},
           Case{"a stop and a start", 500, never, "thief: stop closed start front:other type:c", "-,,c", "other", ""},
           Case{"a click, then late back", 500, late, "thief: click 300 closed 150 front:other type:c", "-,,c", "other",
                " 0"},
           Case{"stolen again while it comes", 500, late, "thief:a 60 thief:b 210 front:thief type:c", "-abc,,",
                "editor", " 4 2"},
           Case{"elsewhere, stolen from there, then late back", 500, late, "thief: 50 other: 60 thief: 190 open type:x",
                "-,,x", "other", " 0 2 0"},
           Case{"elsewhere, stolen from there, then quits", 500, never, "thief: 50 other: 60 thief:x 100 quit 90 open",
                "-,,x", "other", " 2"},
           Case{"elsewhere, then back as a thief", 500, never,
                "thief: 50 other: 60 front:editor type:c 90 editor:", "-,,c", "other", " 0 2"},
           Case{"nobody tells", 500, atOnce, "front:thief type:a", "-,a,", "thief", ""},
           Case{"a late timeout before the judgement", 500, atOnce, "front:thief type:a timeout thief:", "-a,,",
                "editor", " 2"},
           Case{"a late timeout while it comes", 500, late, "thief:a timeout open", "-a,,", "editor", " 2"},
           Case{"a late timeout after all", 800, never, "thief: 550 front:other type:b open timeout closed", "-,,b",
                "other", ""},
       }) {
    SCOPED_TRACE(c.title);
    Scene scene;
    scene.startGuarding(c.bufferTimeoutMs);
    scene.whitelist->entries = {"org.example.other"};
    scene.desktop.whenAskedToActivate(scene.editor, c.editor);
    scene.desktop.whenAskedToActivate(scene.other, late);
    scene.play(c.story);
    scene.play("2000 closed");
    EXPECT_EQ(scene.textIn(scene.editor) + "," + scene.textIn(scene.thief) + "," + scene.textIn(scene.other), c.texts);
    EXPECT_EQ(scene.state->blessedApp(), scene.applications.at(c.blessed));
    EXPECT_EQ(scene.replayed(), c.replayed);
  }
}

TEST_F(FocusGuardEngineTest, TheSameThiefAgainBeforeTheReplayIsThroughGetsNoKeyEither) {
  startGuarding();
  desktop.moment = "Replayed 2 keystroke events";
  desktop.interruption = [this] {
    desktop.moment.clear();
    desktop.setFrontmost(thief);
    desktop.type("b");
    EXPECT_EQ(engine->keystrokeBuffer().mode(), BufferMode::speculative) << "this theft is yet to be judged";
  };
  play("thief:a 100 thief: 1000");
  EXPECT_EQ(textIn(thief), "");
  EXPECT_EQ(textIn(editor), "-ab");
  EXPECT_EQ(state->blockedToday(), 2);
}

TEST_F(FocusGuardEngineTest, StoppingStopsEveryPartInItsOrderWhetherItRunsOrNot) {
  makeEngine(500);
  desktop.clearLog();
  engine->stop();
  EXPECT_FALSE(state->isEnabled());
  EXPECT_THAT(desktop.logLines(),
              ElementsAre(infoLine(LogCategory::lifecycle, "EventTap torn down"),
                          debugLine(LogCategory::focus, "FocusChangeObserver stopped observing"),
                          debugLine(LogCategory::focus, "AXObserverManager stopped monitoring"),
                          debugLine(LogCategory::buffer, "Keystroke buffer: capture cancelled, buffer cleared"),
                          infoLine(LogCategory::lifecycle, "FocusGuardEngine stopped")));
}

TEST_F(FocusGuardEngineTest, StartingTwiceOnlyTells) {
  startGuarding();
  state->setIsEnabled(false);
  EXPECT_FALSE(engine->start()) << "a pause lasts";
  EXPECT_THAT(
      desktop.logLines(),
      ElementsAre(debugLine(LogCategory::lifecycle, "FocusGuardEngine.start() called but already running — skipping")));
}

TEST_F(FocusGuardEngineTest, WithoutItsTapTheEngineRunsButProtectsNothingUntilItIsRestarted) {
  makeEngine(500);
  desktop.grantInputMonitoring(false);
  EXPECT_FALSE(engine->start());
  EXPECT_FALSE(state->isEnabled());
  EXPECT_EQ(desktop.timesLogged("FocusGuardEngine: EventTap creation failed — engine cannot protect"), 1u);
  EXPECT_EQ(desktop.timesLogged("FocusGuardEngine started (tap: false)"), 1u);
  play("thief:");
  EXPECT_EQ(desktop.timesLogged("Focus guard is paused/disabled, ignoring activation"), 1u);
  EXPECT_EQ(desktop.timesLogged("AXObserverManager finished registering observers for 5 apps"), 1u);

  desktop.grantInputMonitoring();
  EXPECT_FALSE(engine->start());
  engine->stop();
  EXPECT_TRUE(engine->start());
  EXPECT_TRUE(state->isEnabled());
}

TEST_F(FocusGuardEngineTest, AThiefWithoutANameIsShownByItsIdentifierAndLoggedAsUnknown) {
  startGuarding();
  play("nameless: 1000");
  EXPECT_EQ(state->lastBlockedApp(), "org.example.nameless");
  play("anonymous: 1000");
  EXPECT_EQ(state->lastBlockedApp(), std::nullopt);
  EXPECT_EQ(state->blockedToday(), 2);
  ASSERT_EQ(told.size(), 4u);
  EXPECT_EQ(told[0].event.thiefBundleID, "org.example.nameless");
  EXPECT_EQ(told[0].event.thiefName, "unknown");
  EXPECT_EQ(told[2].event.thiefBundleID, "unknown");
}

TEST_F(FocusGuardEngineTest, WithoutLoggerAndHandlerATheftIsUndoneAllTheSame) {
  engine = FocusGuardEngine::create(500, 500, whitelist, nullptr, state);
  ASSERT_TRUE(engine->start());
  play("0 thief:a 1000 closed");
  EXPECT_EQ(textIn(editor), "a");
}

TEST_F(FocusGuardEngineTest, AnEngineThatIsReleasedLeavesATheftAloneButFinishesWhatItHasBegun) {
  startGuarding();
  engine->handleProgrammaticTheft(thief, editor);
  engine.reset();
  play("1000");
  EXPECT_EQ(desktop.activationRequests(editor), 0u);

  makeEngine(500);
  const std::weak_ptr<FocusGuardEngine> released = engine;
  engine->handleProgrammaticTheft(thief, editor);
  play("0");
  engine.reset();
  EXPECT_FALSE(released.expired());
  play("1000");
  EXPECT_TRUE(released.expired());
  EXPECT_EQ(told.size(), 2u);
}

}  // namespace
}  // namespace varnoletKit
