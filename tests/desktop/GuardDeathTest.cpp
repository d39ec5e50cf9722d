// A guard that dies or hangs while it holds the keyboard back: the keyboard comes back by itself.
#include <csignal>

#include "Scene.h"

namespace {

using namespace stage;
using Clock = std::chrono::steady_clock;

class GuardsDeath : public UnderWindowManager {
 protected:
  // The gate is closed and Shift and a letter are down: pressed while the thief was in front, and given to the editor.
  void holdShiftAndALetterDuringATheft() {
    scene.startAfresh();
    const unsigned thefts = scene.thief.timesFocused();
    const unsigned returns = scene.editor.timesFocused();
    steal(scene.thief, Theft::byRequest);
    ASSERT_TRUE(eventually([&] { return scene.thief.timesFocused() > thefts; }));
    scene.typist.press(keyLeftShift);
    scene.typist.press(keyA);
    ASSERT_TRUE(eventually([&] { return scene.editor.timesFocused() > returns; })) << "the editor stays behind";
    ASSERT_TRUE(scene.editorGotAll());
    ASSERT_TRUE(scene.keyboard.isFloating()) << "the gate is not closed";
  }

  // Milliseconds until the hardware keyboard types by itself and nothing that the guard had pressed is down.
  double msUntilFree(Clock::time_point since) {
    EXPECT_TRUE(eventually([&] { return !scene.keyboard.isFloating() && scene.keyboard.keysDown().none(); }))
        << "the keyboard stays " << (scene.keyboard.isFloating() ? "held back" : "with keys down");
    return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
  }

  // What is typed now is all that arrives, as typed: no Shift left over, nothing repeats, nothing old comes.
  void expectToTypeNormally(const std::string& when) {
    scene.startAfresh();
    for (int i = 0; i < 3; ++i) scene.typist.tap(keyB);
    ASSERT_TRUE(scene.editorGotAll()) << when;
    std::string arrived;
    for (const auto& key : scene.editor.keys()) {
      if (key.isPress) arrived += arrived.empty() ? "" : " ", arrived += std::to_string(key.keysym);
    }
    EXPECT_EQ(arrived, "98 98 98") << when << " (the keysyms that arrived)";
    scene.expectAllKeysUp(when);
  }
};

TEST_P(GuardsDeath, GivesTheKeyboardBackWithinFiftyMilliseconds) {
  constexpr double atMostMs = 50;
  for (int round = 1; round <= 5; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    ASSERT_NO_FATAL_FAILURE(holdShiftAndALetterDuringATheft());
    const auto killed = Clock::now();
    scene.guard->process().signal(SIGKILL);
    scene.typist.releaseAll();
    EXPECT_LE(msUntilFree(killed), atMostMs);
    ASSERT_NO_FATAL_FAILURE(expectToTypeNormally("after the guard's death"));
    EXPECT_TRUE(eventually([&] { return !scene.guard->process().isRunning(); }));
    EXPECT_TRUE(eventually([&] { return scene.guard->process().processes().empty(); }))
        << "the dead guard left a process behind";
    scene.guard.reset();
    scene.beginGuarding();
  }
  scene.expectWordSurvives(Theft::byRequest, "with a new guard");
}

TEST_P(GuardsDeath, LosesNoKeyTypedAfterIt) {
  ASSERT_NO_FATAL_FAILURE(scene.closeGate());
  scene.guard->process().signal(SIGKILL);
  ASSERT_NO_FATAL_FAILURE(scene.waitUntilGateOpens());
  ASSERT_NO_FATAL_FAILURE(expectToTypeNormally("after a death with no key down"));
}

// The one that the guard has started.
pid_t watchdogOf(const Guard& guard) {
  for (const pid_t process : guard.process().processes()) {
    if (process != guard.process().pid()) return process;
  }
  return 0;
}

TEST_P(GuardsDeath, OfAStoppedGuardGivesTheKeyboardBackWithinASecondAlsoAfterItsWatchdogWasStopped) {
  constexpr double atMostMs = 1000;
  const pid_t watchdog = watchdogOf(*scene.guard);
  ASSERT_EQ(::kill(watchdog, SIGSTOP), 0);
  ASSERT_NO_FATAL_FAILURE(scene.closeGate());
  ASSERT_TRUE(eventually([&] { return watchdogOf(*scene.guard) != watchdog && watchdogOf(*scene.guard) != 0; }))
      << "the watchdog is not replaced";
  ASSERT_NO_FATAL_FAILURE(scene.waitUntilGateOpens());
  ASSERT_NO_FATAL_FAILURE(holdShiftAndALetterDuringATheft());
  const auto stopped = Clock::now();
  scene.guard->process().signal(SIGSTOP);
  scene.typist.tap(keyA);  // typed into a guard that hangs: too old by the time that it goes on
  scene.typist.releaseAll();
  EXPECT_LE(msUntilFree(stopped), atMostMs);
  ASSERT_NO_FATAL_FAILURE(expectToTypeNormally("while the guard hangs"));

  const auto before = scene.guard->log().count();
  scene.startAfresh();
  scene.guard->process().signal(SIGCONT);
  // It guards again once it closes the gate at the sign of a theft.
  ASSERT_TRUE(eventually([&] {
    scene.thief.tell("modest");
    return eventually([&] { return scene.keyboard.isFloating(); }, std::chrono::milliseconds(50));
  })) << "the guard does not recover; since then it wrote "
      << scene.guard->log().count() - before << " lines";
  EXPECT_EQ(scene.editor.pressCount() + scene.thief.pressCount(), 0u) << "something old was typed";
  for (const auto theft : {Theft::byRequest, Theft::byNewWindow}) {
    ASSERT_NO_FATAL_FAILURE(scene.expectWordSurvives(theft, "after the guard went on"));
  }
  scene.expectAllKeysUp("afterwards");
}

TEST_P(GuardsDeath, ByRequestIsCleanAndReleasesTheKeyboard) {
  for (const int signal : {SIGTERM, SIGINT}) {
    ASSERT_NO_FATAL_FAILURE(holdShiftAndALetterDuringATheft());
    scene.guard->process().signal(signal);
    const auto ending = scene.guard->process().ending();
    ASSERT_TRUE(ending) << "the guard goes on after signal " << signal;
    EXPECT_EQ(*ending, (Ending{0, std::nullopt})) << describe(*ending);
    EXPECT_FALSE(scene.keyboard.isFloating());
    scene.typist.releaseAll();
    ASSERT_NO_FATAL_FAILURE(expectToTypeNormally("after the guard's end"));
    EXPECT_TRUE(eventually([&] { return scene.guard->process().processes().empty(); }));
    scene.guard.reset();
    scene.beginGuarding();
  }
}

TEST_P(GuardsDeath, ByRequestComesWithinASecondWhateverItWaitsFor) {
  ASSERT_NO_FATAL_FAILURE(scene.closeGate());
  scene.desktop.signalServer(SIGSTOP);
  scene.guard->process().signal(SIGTERM);
  EXPECT_TRUE(scene.guard->process().ending(std::chrono::seconds(1)));
  scene.desktop.signalServer(SIGCONT);
  ASSERT_NO_FATAL_FAILURE(scene.waitUntilGateOpens());
  ASSERT_NO_FATAL_FAILURE(expectToTypeNormally("after an end that would not come"));
}

TEST_P(GuardsDeath, IsFollowedByTheNextGuardWheneverThatStarts) {
  for (const char* lastSeen : {"", "EventTap torn down", "FocusGuardEngine stopped"}) {
    scene.guard->process().signal(SIGTERM);
    ASSERT_TRUE(scene.guard->log().waitFor(lastSeen)) << lastSeen;
    std::optional<Guard> next;
    ASSERT_NO_THROW(next.emplace(scene.desktop)) << "started after '" << lastSeen << "'";
    EXPECT_EQ(scene.guard->process().ending(), (Ending{0, std::nullopt}));
    EXPECT_TRUE(next->stop());
    scene.guard.reset();
    scene.beginGuarding();
  }
  // Not even one on another bus, or on none, guards beside it.
  auto options = ChildProcess::Options{scene.desktop.environment()};
  options.environment["DBUS_SESSION_BUS_ADDRESS"] = "disabled:";
  options.readErrors = true;
  ChildProcess second({Guard::programUnderTest().string()}, options);
  EXPECT_EQ(second.ending(), (Ending{3, std::nullopt}));
  EXPECT_TRUE(second.errors().waitFor("varnolet: this display is guarded by another process already"));
}

INSTANTIATE_UNDER_WINDOW_MANAGERS(GuardsDeath);

}  // namespace
