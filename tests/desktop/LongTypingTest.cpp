// Typing for minutes at every pace, with thefts at random.
#include <cstdio>

#include "Scene.h"
#include "tools/stage/Resources.h"
#include "tools/stage/Schedule.h"

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

// At the pace of people, a theft every other second: the gate closes and opens, and nothing piles up.
TEST_P(LongTyping, AtThePaceOfPeopleTakesNothingForGood) {
  const std::chrono::seconds time(fromEnvironment("VARNOLET_SOAK_SECONDS", 20));
  constexpr double keysASecond = 6;
  constexpr std::size_t mostKiBMore = 4096;
  constexpr std::size_t fewWindows = 10;
  scene.expectWordSurvives(Theft::byRequest, "at first");
  scene.waitUntilGateOpens();
  scene.startAfresh();
  const auto before = resourcesOf(*scene.guard, scene.desktop.connection());
  const auto text = typing(random, static_cast<std::size_t>(static_cast<double>(time.count()) * keysASecond), {2, 12});
  const auto thieves = static_cast<std::size_t>(time.count() / 2);
  play(together(text, thefts(random, thieves, endOf(text), {Theft::byRequest, Theft::byNewWindow})), scene.typist,
       scene.thief);
  scene.editorGotAll();
  EXPECT_TRUE(scene.lostAndDoubled().isNone()) << scene.account();
  EXPECT_EQ(scene.thief.pressCount(), 0u) << "keys went to the thief";
  scene.waitUntilGateOpens();
  const auto after = resourcesOf(*scene.guard, scene.desktop.connection());
  std::printf("%ld s, %u thefts; before: %s; after: %s\n", static_cast<long>(time.count()), scene.thief.timesFocused(),
              describe(before).c_str(), describe(after).c_str());
  EXPECT_LE(after.residentKiB, before.residentKiB + mostKiBMore);
  EXPECT_EQ(after.descriptors, before.descriptors);
  EXPECT_LE(after.inServer, before.inServer + fewWindows) << "it asks for the events of each window that is there";
  EXPECT_GT(before.inServer, 0u) << "nothing was counted";
}

INSTANTIATE_UNDER_WINDOW_MANAGERS(LongTyping);

}  // namespace
