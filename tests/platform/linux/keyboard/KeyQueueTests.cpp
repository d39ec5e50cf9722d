#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>

#include "platform/linux/keyboard/HeldKeys.h"
#include "platform/linux/keyboard/KeyQueue.h"

namespace platform::linux_desktop {
namespace {

using State = KeyQueue::State;

KeyStroke press(KeyCode key) {
  return {key, true, kCGEventKeyDown, 0, {}};
}

class KeyQueueTest : public testing::Test {
 protected:
  KeyQueue::Ordinal arrive(KeyCode key, State state, std::optional<pid_t> destination = std::nullopt) {
    const auto ordinal = queue.takeOrdinal();
    queue.append({ordinal, press(key), state, destination});
    return ordinal;
  }
  // The keys that may go now, in the order in which they go.
  std::vector<int> release() {
    std::vector<int> keys;
    while (const auto* entry = queue.ready()) {
      keys.push_back(entry->stroke.key);
      queue.removeFirst();
    }
    return keys;
  }

  KeyQueue queue;
};

TEST_F(KeyQueueTest, KeysLeaveInTypingOrderWhateverTheOrderOfTheirRelease) {
  const auto first = arrive(10, State::held);
  const auto second = arrive(11, State::held);
  const auto third = arrive(12, State::held);
  queue.post(third);
  queue.post(second);
  EXPECT_EQ(release(), std::vector<int>{});
  queue.post(first);
  EXPECT_EQ(release(), (std::vector<int>{10, 11, 12}));
  EXPECT_TRUE(queue.isEmpty());
}

TEST_F(KeyQueueTest, APassedKeyWaitsForTheHeldOnesBeforeItOnly) {
  const auto before = arrive(10, State::held);
  arrive(11, State::passed, 1);
  arrive(12, State::held);
  queue.drop(before);
  EXPECT_EQ(release(), (std::vector<int>{11}));
  EXPECT_TRUE(queue.contains(12));
  EXPECT_FALSE(queue.contains(11));
}

TEST_F(KeyQueueTest, AKeyHeldOnceMoreKeepsItsPlace) {
  const auto first = arrive(10, State::held);
  const auto second = arrive(11, State::held);
  queue.post(first);
  ASSERT_TRUE(queue.ready());
  queue.holdFirstAgain();
  queue.post(second);
  EXPECT_EQ(release(), std::vector<int>{});
  queue.post(first);
  EXPECT_EQ(release(), (std::vector<int>{10, 11}));
}

TEST_F(KeyQueueTest, WhatIsNotHeldCannotBePostedOrDropped) {
  const auto passed = arrive(10, State::passed, 1);
  queue.drop(passed);
  queue.post(passed);
  queue.post(77);
  ASSERT_TRUE(queue.ready());
  EXPECT_EQ(queue.ready()->state, State::passed);
  EXPECT_EQ(release(), (std::vector<int>{10}));
}

TEST(HeldKeys, ACopyIsPostedOnceOrDroppedAndNeverCopiedAgain) {
  const auto inbox = std::make_shared<HeldKeyInbox>();
  const KeyStroke stroke{10, true, kCGEventKeyDown, kCGEventFlagMaskShift, {}};
  TapEvent posted(stroke, 1, inbox);
  TapEvent dropped(stroke, 2, inbox);
  {
    const auto copy = posted.copy();
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->flags(), kCGEventFlagMaskShift);
    EXPECT_FALSE(posted.copy());
    EXPECT_FALSE(copy->copy());
    static_cast<HeldKey&>(*copy).post();
    static_cast<HeldKey&>(*copy).post();
    ASSERT_TRUE(dropped.copy());
  }
  const auto messages = inbox->takeAll();
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_TRUE(messages[0].isPosted);
  EXPECT_EQ(messages[0].ordinal, 1u);
  EXPECT_FALSE(messages[1].isPosted);
  EXPECT_EQ(messages[1].ordinal, 2u);
  EXPECT_FALSE(TapEvent(0, {}).copy()) << "an application has it already";
}

TEST(HeldKeys, CopiesThatOutliveTheirGateGoNowhere) {
  const auto inbox = std::make_shared<HeldKeyInbox>();
  const KeyStroke stroke = press(10);
  auto copy = TapEvent(stroke, 1, inbox).copy();
  inbox->close();
  static_cast<HeldKey&>(*copy).post();
  copy.reset();
  EXPECT_TRUE(inbox->takeAll().empty());
}

TEST(KeyStroke, LeavesNothingOfItsKeyWhereItWas) {
  alignas(KeyStroke) std::array<std::uint8_t, sizeof(KeyStroke)> place{};
  const auto holdsKey = [&place] { return std::ranges::find(place, std::uint8_t{38}) != place.end(); };
  auto* stroke = new (place.data()) KeyStroke(press(38));
  EXPECT_TRUE(holdsKey());
  std::destroy_at(stroke);
  EXPECT_FALSE(holdsKey());
}

}  // namespace
}  // namespace platform::linux_desktop
