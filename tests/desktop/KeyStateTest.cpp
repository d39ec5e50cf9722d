// A hundred thousand key events with modifiers, overlaps and thefts of every kind: whatever was held back, dropped or
// given back, the server's keys are the fingers'.
#include <cstdio>
#include <random>
#include <thread>

#include "Scene.h"

namespace {

using namespace stage;

constexpr unsigned seed = 77001;
constexpr std::size_t eventsUnderEach = 55000;
constexpr std::size_t betweenChecks = 2500;
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
  std::chrono::microseconds randomPause() { return std::chrono::microseconds(random_() % 250); }

  std::mt19937 random_{seed};
  std::vector<KeyCode> keys_;
  unsigned thefts_ = 0;
};

TEST_P(KeyState, EqualsTheFingersAfterAnySequence) {
  std::printf("seed %u\n", seed);
  for (std::size_t event = 1; event <= eventsUnderEach; ++event) {
    moveAFinger();
    sometimesSteal();
    std::this_thread::sleep_for(randomPause());
    if (event % betweenChecks != 0) continue;
    scene.expectKeysMatchFingers("after " + std::to_string(event) + " events");
    if (HasFailure()) return;
  }
  scene.typist.releaseAll();
  ASSERT_NO_FATAL_FAILURE(scene.waitUntilGateOpens());
  scene.expectAllKeysUp("at the end");
  std::printf("%zu events, %u thefts tried, %u took the focus\n", eventsUnderEach, thefts_, scene.thief.timesFocused());
  EXPECT_GE(scene.thief.timesFocused(), thefts_ / 2) << "too few thefts took the focus";
}

INSTANTIATE_UNDER_WINDOW_MANAGERS(KeyState);

}  // namespace
