#include <gtest/gtest.h>

#include <random>
#include <set>

#include "platform/linux/keyboard/KeyBalance.h"

namespace platform::linux_desktop {
namespace {

constexpr DeviceId keyboard = 7;
constexpr KeyCode letter = 38;
constexpr KeyCode shift = 50;

using Emissions = std::vector<KeyBalance::Emission>;

class KeyBalanceTest : public testing::Test {
 protected:
  void typeNatively(KeyCode key, bool isPress) {
    balance.fingerMoved(keyboard, key, isPress);
    EXPECT_EQ(balance.delivered(key, isPress), Emissions{});
  }
  // What our own device has down after that.
  void apply(const Emissions& emissions) {
    for (const auto& each : emissions) own.set(each.key, each.isPress);
  }
  Emissions settle() {
    return balance.settle([this](KeyCode key) { return pending.count(key) > 0; });
  }

  KeyBalance balance;
  KeySet own;
  std::set<KeyCode> pending;
};

TEST_F(KeyBalanceTest, ADroppedReleaseOfADeliveredPressIsStillGivenToTheServer) {
  typeNatively(letter, true);
  balance.fingerMoved(keyboard, letter, false);
  pending.insert(letter);
  EXPECT_EQ(settle(), Emissions{}) << "a held release may still be posted in its turn";
  pending.clear();
  EXPECT_EQ(settle(), (Emissions{{letter, false}}));
  EXPECT_EQ(settle(), Emissions{});
}

TEST_F(KeyBalanceTest, ASecondPressReleasesTheKeyFirstAndASecondReleaseIsNothing) {
  typeNatively(letter, true);
  EXPECT_EQ(balance.emit(letter, true), (Emissions{{letter, false}, {letter, true}}));
  EXPECT_EQ(balance.emit(letter, false), (Emissions{{letter, false}}));
  EXPECT_EQ(balance.emit(letter, false), Emissions{});
}

TEST_F(KeyBalanceTest, AfterAnyHistoryTheServerHasDownWhatTheFingersHold) {
  std::mt19937 random(20261122);
  for (int round = 0; round < 200; ++round) {
    KeySet down;
    for (int step = 0; step < 100; ++step) {
      const auto key = static_cast<KeyCode>(random() % 4 == 0 ? shift : letter + random() % 3);
      const bool isPress = !down[key];
      down.set(key, isPress);
      balance.fingerMoved(keyboard, key, isPress);
      switch (random() % 3) {
        case 0:
          apply(balance.delivered(key, isPress));
          break;
        case 1:
          apply(balance.emit(key, isPress));
          break;
        default:
          break;  // dropped
      }
      apply(settle());
      EXPECT_EQ(balance.serverDown(), down);
      EXPECT_EQ(balance.emittedDown(), own);
      EXPECT_TRUE((own & ~down).none());
    }
    balance.forget(keyboard);  // pulled out, with every finger on it
    apply(settle());
    EXPECT_TRUE(balance.serverDown().none());
    EXPECT_TRUE(own.none());
  }
}

}  // namespace
}  // namespace platform::linux_desktop
