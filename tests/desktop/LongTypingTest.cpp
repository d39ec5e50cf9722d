// Typing for minutes at every pace, with thefts at random.
#include <cstdio>

#include "Scene.h"
#include "tests/desktop/stage/Schedule.h"

namespace {

using namespace stage;

constexpr unsigned seed = 20240229;

class LongTyping : public UnderWindowManager {
 protected:
  LongTyping() { std::printf("seed %u\n", seed); }
  std::mt19937 random{seed};
};

TEST_P(LongTyping, LosesNothingToThievesWhoAskOrAppear) {
  constexpr std::size_t keys = 20000;
  constexpr std::size_t planned = 220;  // a few meet a thief who still has the focus
  constexpr std::size_t wanted = 200;
  const auto text = typing(random, keys, {20, 500});
  const auto interruptions = thefts(random, planned, endOf(text), {Theft::byRequest, Theft::byNewWindow});
  play(together(text, interruptions), scene.typist, scene.thief);

  scene.editorGotAll();
  const auto result = scene.lostAndDoubled();
  std::printf("%zu keys, %u thefts: %s\n", keys, scene.thief.timesFocused(), describe(result).c_str());
  EXPECT_TRUE(result.isNone()) << scene.account();
  EXPECT_EQ(scene.thief.pressCount(), 0u) << "keys went to the thief";
  EXPECT_GE(scene.thief.timesFocused(), wanted) << "too few thefts took the focus";
  scene.expectAllKeysUp("afterwards");
  for (const auto& names : blockedEvents(scene.desktop, wanted / 2)) EXPECT_EQ(names, "stage-thief > stage-editor");
}

// A window that takes the input focus by itself is seen only when it has it: a key may fall in between.
TEST_P(LongTyping, LosesAlmostNothingToThievesWhoJustTakeTheFocus) {
  constexpr std::size_t planned = 110;
  constexpr std::size_t wanted = 100;
  constexpr double keysASecond = 20;
  constexpr std::chrono::milliseconds betweenThefts(250);
  const auto end = betweenThefts * planned;
  const auto keys = static_cast<std::size_t>(std::chrono::duration<double>(end).count() * keysASecond);
  const auto text = typing(random, keys, {keysASecond, keysASecond});
  play(together(text, thefts(random, planned, end, {Theft::byInputFocus})), scene.typist, scene.thief);

  EXPECT_TRUE(eventually([&] { return scene.editor.pressCount() + scene.thief.pressCount() >= keys; }));
  const auto result = scene.lostAndDoubled();
  const auto astray = scene.thief.pressCount();
  std::printf("%zu keys, %u thefts, %zu astray\n", keys, scene.thief.timesFocused(), astray);
  EXPECT_TRUE(result.surplus.empty()) << describe(result);
  EXPECT_EQ(result.lost.size(), astray) << "some reached nobody: " << describe(result);
  EXPECT_LE(astray * wanted, scene.thief.timesFocused()) << "more than one key in " << wanted << " thefts went astray";
  EXPECT_GE(scene.thief.timesFocused(), wanted) << "too few thefts took the focus";
  scene.expectAllKeysUp("afterwards");
}

INSTANTIATE_UNDER_WINDOW_MANAGERS(LongTyping);

}  // namespace
