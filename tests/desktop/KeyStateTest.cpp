// A hundred thousand key events with modifiers, overlaps and thefts of every kind, and a guard that is now and then
// killed or stopped in their midst: whatever was held back, dropped or given back, the server's keys are the fingers'.
#include <csignal>
#include <cstdio>
#include <random>
#include <thread>

#include "Scene.h"

namespace {

using namespace stage;

constexpr unsigned seed = 77001;
const std::size_t eventsUnderEach = fromEnvironment("VARNOLET_SOAK_EVENTS", 110000) / 2;
constexpr std::size_t betweenChecks = 2500;
constexpr std::size_t betweenBlows = 9000;
constexpr std::size_t mostFingers = 6;

class KeyState : public UnderWindowManager {
 protected:
  KeyState() : keys_(characterKeys()) {
    for (const auto modifier : {keyLeftShift, keyRightShift, keyLeftControl}) keys_.push_back(modifier);
  }

  // One finger goes down or up.
  void moveAFinger() {
    const KeyCode key = keys_[random_() % keys_.size()];
    if (scene.typist.fingers()[key]) {
      scene.typist.release(key);
    } else if (scene.typist.fingers().count() < mostFingers) {
      scene.typist.press(key);
    } else {
      KeyCode held = 0;
      while (!scene.typist.fingers()[held]) ++held;
      scene.typist.release(held);
    }
  }
  void sometimesSteal() {
    constexpr unsigned oneIn = 300;
    if (random_() % oneIn != 0) return;
    constexpr std::array ways{Theft::byRequest, Theft::byNewWindow, Theft::byInputFocus};
    steal(scene.thief, ways[random_() % ways.size()]);
    ++thefts_;
  }
  // In any phase of the gate, with fingers down and keys held. Who was stopped goes on while the fingers do.
  void strike() {
    constexpr std::array blows{SIGKILL, SIGSTOP, SIGABRT, SIGTERM};
    const int blow = blows[blows_++ % blows.size()];
    SCOPED_TRACE("signal " + std::to_string(blow));
    scene.guard->process().signal(blow);
    for (int i = 0; i < 40; ++i) {
      moveAFinger();
      std::this_thread::sleep_for(randomPause());
    }
    scene.typist.releaseAll();
    scene.expectAllKeysUp("after the blow");
    if (blow == SIGSTOP) {
      scene.guard->process().signal(SIGCONT);
    } else {
      ASSERT_TRUE(scene.guard->process().ending());
      EXPECT_TRUE(eventually([&] { return scene.guard->process().processes().empty(); })) << "a process is left";
      scene.guard.reset();
      scene.beginGuarding();
    }
  }
  std::chrono::microseconds randomPause() { return std::chrono::microseconds(random_() % 250); }

  std::mt19937 random_{seed};
  std::vector<KeyCode> keys_;
  unsigned thefts_ = 0;
  std::size_t blows_ = 0;
};

TEST_P(KeyState, EqualsTheFingersAfterAnySequence) {
  std::printf("seed %u\n", seed);
  for (std::size_t event = 1; event <= eventsUnderEach; ++event) {
    moveAFinger();
    sometimesSteal();
    std::this_thread::sleep_for(randomPause());
    if (event % betweenBlows == 0) strike();
    if (event % betweenChecks == 0) scene.expectKeysMatchFingers("after " + std::to_string(event) + " events");
    if (HasFailure()) return;
  }
  scene.typist.releaseAll();
  ASSERT_NO_FATAL_FAILURE(scene.waitUntilGateOpens());
  scene.expectAllKeysUp("at the end");
  std::printf("%zu events, %u thefts tried, %u took the focus, %zu blows\n", eventsUnderEach, thefts_,
              scene.thief.timesFocused(), blows_);
  EXPECT_GE(scene.thief.timesFocused(), thefts_ / 2) << "too few thefts took the focus";
}

INSTANTIATE_UNDER_WINDOW_MANAGERS(KeyState);

}  // namespace
