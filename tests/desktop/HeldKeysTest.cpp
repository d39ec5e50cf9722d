// Keys that are down when the gate closes or opens: the server holds down what the fingers hold down, always.
#include <algorithm>
#include <thread>

#include "Scene.h"

namespace {

using namespace stage;

class HeldKeys : public UnderWindowManager {
 protected:
  void stealAndGiveBack(Theft theft) {
    const unsigned before = scene.thief.timesFocused();
    steal(scene.thief, theft);
    ASSERT_TRUE(eventually([&] { return scene.thief.timesFocused() > before; }));
    ASSERT_TRUE(eventually([&] { return scene.editor.isFocused(); })) << "the editor stays behind";
  }
  bool editorHas(std::size_t presses) {
    return eventually([&] { return scene.editor.pressCount() >= presses; });
  }
};

TEST_P(HeldKeys, OverlapAsTheyDidWhileTheFocusIsStolen) {
  const std::vector<KeyCode> keys(characterKeys().begin(), characterKeys().begin() + 12);
  scene.typist.press(keys.front());
  for (std::size_t i = 1; i < keys.size(); ++i) {
    if (i == 4) steal(scene.thief, Theft::byRequest);
    scene.typist.press(keys[i]);
    scene.typist.release(keys[i - 1]);
    std::this_thread::sleep_for(std::chrono::milliseconds(15));
  }
  scene.typist.release(keys.back());
  EXPECT_TRUE(scene.editorGotAll()) << scene.account();
  EXPECT_TRUE(scene.lostAndDoubled().isNone()) << scene.account();
  scene.expectAllKeysUp("afterwards");

  // What was held back keeps the order of presses and releases: each key goes up after the next one went down.
  const auto received = scene.editor.keys();
  const auto positionOf = [&](KeyCode key, bool isPress) {
    return std::find_if(received.begin(), received.end(),
                        [&](const ReceivedKey& r) { return r.key == key && r.isPress == isPress; }) -
           received.begin();
  };
  for (std::size_t i = 6; i + 1 < keys.size(); ++i) {
    EXPECT_LT(positionOf(keys[i + 1], true), positionOf(keys[i], false)) << "key number " << i;
  }
}

TEST_P(HeldKeys, KeepTheirModifierThroughATheft) {
  constexpr std::uint16_t shift = 1;
  for (const auto modifier : {keyLeftShift, keyRightShift}) {
    scene.startAfresh();
    scene.typist.press(modifier);
    scene.typist.tap(keyA);
    ASSERT_TRUE(editorHas(2));
    // The release of the key before all this may come first.
    const auto keys = scene.editor.keys();
    const auto press = std::find_if(keys.begin(), keys.end(), [](auto& key) { return key.isPress && key.key == keyA; });
    ASSERT_NE(press, keys.end());
    const auto typed = press->state;
    ASSERT_EQ(typed & shift, shift);
    steal(scene.thief, Theft::byNewWindow);
    for (int i = 0; i < 10; ++i) {
      scene.typist.tap(keyA);
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ASSERT_TRUE(editorHas(12));
    scene.typist.release(modifier);
    scene.typist.tap(keyB);
    ASSERT_TRUE(editorHas(13));
    for (const auto& key : scene.editor.keys()) {
      if (!key.isPress || key.key == modifier) continue;
      EXPECT_EQ(key.state, key.key == keyA ? typed : 0);
    }
    EXPECT_EQ(scene.thief.pressCount(), 0u);
    scene.expectAllKeysUp("afterwards");
  }
}

TEST_P(HeldKeys, GoOnRepeatingAfterATheftAndStopWhenReleased) {
  scene.keyboard.setRepeat(150, 25);
  scene.typist.press(keyA);
  ASSERT_TRUE(editorHas(3)) << "the key does not repeat";
  ASSERT_NO_FATAL_FAILURE(stealAndGiveBack(Theft::byRequest));
  scene.expectKeysMatchFingers("held through a theft");
  const auto sofar = scene.editor.pressCount();
  EXPECT_TRUE(editorHas(sofar + 5)) << "the key no longer repeats";
  scene.typist.release(keyA);
  scene.expectAllKeysUp("released");
  EXPECT_EQ(scene.thief.pressCount(), 0u) << "the thief got repetitions";

  scene.typist.tap(keyB);
  EXPECT_TRUE(eventually([&] { return !scene.editor.keys().empty() && scene.editor.keys().back().key == keyB; }));
  const auto presses = scene.editor.presses();
  EXPECT_EQ(std::count(presses.begin(), presses.end(), keyB), 1);
}

TEST_P(HeldKeys, MayBeReleasedWhileTheThiefIsInFront) {
  scene.typist.press(keyA);
  ASSERT_TRUE(editorHas(1));
  steal(scene.thief, Theft::byRequest);
  scene.typist.release(keyA);
  scene.typist.press(keyB);
  scene.expectKeysMatchFingers("one up, one down during a theft");
  ASSERT_TRUE(editorHas(2));
  scene.typist.release(keyB);
  scene.expectAllKeysUp("afterwards");
  EXPECT_TRUE(scene.lostAndDoubled().isNone()) << scene.account();
}

TEST_P(HeldKeys, AreStillDownWhenTheGateHasClosedAndUpWhenItHasOpened) {
  for (const auto key : {keyA, keyLeftShift, keyLeftControl}) {
    scene.typist.press(key);
    scene.expectKeysMatchFingers("before the gate closes");
    ASSERT_NO_FATAL_FAILURE(scene.closeGate());
    scene.expectKeysMatchFingers("the gate closed");
    scene.typist.press(keyB);
    scene.expectKeysMatchFingers("one pressed before the gate closed, one after");
    scene.typist.release(key);
    scene.expectKeysMatchFingers("the first released");
    scene.typist.release(keyB);
    ASSERT_NO_FATAL_FAILURE(scene.waitUntilGateOpens());
    scene.expectAllKeysUp("the gate opened");
  }
}

// A finger that goes down just as the gate opens must not be missed by either side.
TEST_P(HeldKeys, MayGoDownWhileTheGateOpens) {
  using namespace std::chrono;
  ASSERT_NO_FATAL_FAILURE(scene.closeGate());
  const auto closed = steady_clock::now();
  ASSERT_NO_FATAL_FAILURE(scene.waitUntilGateOpens());
  const auto untilOpen = steady_clock::now() - closed;
  for (const milliseconds early : {4ms, 2ms, 1ms, 0ms}) {
    ASSERT_NO_FATAL_FAILURE(scene.closeGate());
    scene.startAfresh();
    std::this_thread::sleep_for(untilOpen - early);
    scene.typist.press(keyA);
    scene.typist.press(keyB);
    scene.expectKeysMatchFingers("keys pressed as the gate opened");
    scene.typist.release(keyA);
    scene.typist.release(keyB);
    EXPECT_TRUE(scene.editorGotAll()) << scene.account();
    EXPECT_TRUE(scene.lostAndDoubled().isNone()) << scene.account();
    scene.expectAllKeysUp("afterwards");
    ASSERT_NO_FATAL_FAILURE(scene.waitUntilGateOpens());
  }
}

INSTANTIATE_UNDER_WINDOW_MANAGERS(HeldKeys);

}  // namespace
