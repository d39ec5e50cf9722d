#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/simulated/SimulatedDesktop.h"
#include "varnoletKit/FocusGuardState.h"
#include "varnoletKit/Observation.h"

namespace varnoletKit {
namespace {

class ObservationTest : public testing::Test {
 protected:
  // How often a reader of everything in the state is told during `change`.
  template <class Change>
  int timesToldOf(const Change& change) {
    int runs = 0;
    const Observation observation = observe([&] {
      ++runs;
      static_cast<void>(state->blessedApp());
      static_cast<void>(state->isIntercepting());
      static_cast<void>(state->isEnabled());
      static_cast<void>(state->blockedToday());
      static_cast<void>(state->lastBlockedApp());
      static_cast<void>(state->lastBlockedTime());
    });
    change();
    return runs - 1;
  }

  platform::simulated::SimulatedDesktop desktop;
  std::shared_ptr<FocusGuardState> state = std::make_shared<FocusGuardState>();
};

TEST_F(ObservationTest, AFreshStateIsEnabledAndKnowsOfNoTheft) {
  EXPECT_EQ(state->blessedApp(), std::nullopt);
  EXPECT_FALSE(state->isIntercepting());
  EXPECT_TRUE(state->isEnabled());
  EXPECT_EQ(state->blockedToday(), 0);
  EXPECT_EQ(state->lastBlockedApp(), std::nullopt);
  EXPECT_EQ(state->lastBlockedTime(), std::nullopt);
}

TEST_F(ObservationTest, EachPropertyTellsOfADifferentValueAndOfNoEqualOne) {
  const auto editor = desktop.launch({.pid = 7, .localizedName = "Editor"});
  const auto terminal = desktop.launch({.pid = 8, .localizedName = "Terminal"});
  const auto changeEverything = [&] {
    state->setBlessedApp(editor);
    state->setIsIntercepting(true);
    state->setIsEnabled(false);
    state->setBlockedToday(3);
    state->setLastBlockedApp("");
    state->setLastBlockedTime(platform::Date());
  };
  EXPECT_EQ(timesToldOf(changeEverything), 6);
  EXPECT_EQ(timesToldOf(changeEverything), 0);

  EXPECT_EQ(timesToldOf([&] { state->setBlessedApp(terminal); }), 1);
  EXPECT_EQ(timesToldOf([&] { state->setBlessedApp(std::nullopt); }), 1);
  EXPECT_EQ(timesToldOf([&] { state->setBlessedApp(std::nullopt); }), 0);
  EXPECT_EQ(timesToldOf([&] { state->setLastBlockedApp(std::nullopt); }), 1);
  EXPECT_EQ(timesToldOf([&] { state->incrementBlockedToday(); }), 1);
  EXPECT_EQ(state->blockedToday(), 4);
}

TEST_F(ObservationTest, AReaderIsToldOnceAndFindsTheNewValue) {
  std::vector<bool> seen;
  const Observation observation = withObservationTracking(
      [&] {
        static_cast<void>(state->isEnabled());
        static_cast<void>(state->blockedToday());
      },
      [&] { seen.push_back(state->isEnabled()); });
  state->setIsIntercepting(true);  // was not read
  EXPECT_TRUE(seen.empty());
  state->setIsEnabled(false);
  state->setIsEnabled(true);
  state->incrementBlockedToday();
  EXPECT_EQ(seen, std::vector<bool>{false});
}

TEST_F(ObservationTest, ARepeatedBodyFollowsWhatItsLastRunRead) {
  std::vector<std::int64_t> shown;
  const Observation observation = observe([&] { shown.push_back(state->isEnabled() ? state->blockedToday() : -1); });
  state->incrementBlockedToday();
  state->setIsEnabled(false);
  state->incrementBlockedToday();  // not shown now
  state->setIsEnabled(true);
  EXPECT_EQ(shown, (std::vector<std::int64_t>{0, 1, -1, 2}));
}

TEST_F(ObservationTest, AnEndedObservationIsNotCalledEvenInTheMiddleOfTelling) {
  int calls = 0;
  Observation second;
  const Observation first =
      withObservationTracking([&] { static_cast<void>(state->isEnabled()); }, [&] { second.cancel(); });
  second = observe([&] {
    static_cast<void>(state->isEnabled());
    ++calls;
  });
  auto endsItself = std::make_unique<Observation>();
  *endsItself = observe([&] {
    if (!state->isEnabled()) endsItself.reset();
  });
  state->setIsEnabled(false);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(endsItself, nullptr);
  state->setIsEnabled(true);
  EXPECT_EQ(calls, 1);
}

TEST_F(ObservationTest, ABodyMayChangeWhatItReads) {
  int runs = 0;
  const Observation observation = observe([&] {
    ++runs;
    if (state->blockedToday() < 3) state->incrementBlockedToday();
  });
  EXPECT_EQ(state->blockedToday(), 3);
  EXPECT_EQ(runs, 4);
  state->setBlockedToday(0);
  EXPECT_EQ(state->blockedToday(), 3);
}

// Each of two readers answers the other's change; both end up having seen the last values.
TEST_F(ObservationTest, ReadersMayWriteWhileOthersAreBeingTold) {
  bool shownAsEnabled = false;
  std::int64_t shownCount = -1;
  const Observation shows = observe([&] {
    shownAsEnabled = state->isEnabled();
    shownCount = state->blockedToday();
  });
  const Observation counts = observe([&] {
    if (!state->isEnabled()) {
      state->incrementBlockedToday();
      state->setIsEnabled(true);
    }
  });
  state->setIsEnabled(false);
  EXPECT_TRUE(shownAsEnabled);
  EXPECT_EQ(shownCount, 1);
}

TEST_F(ObservationTest, AReaderThatComesDuringTellingIsToldOfTheNextChange) {
  int calls = 0;
  Observation late;
  const Observation early = withObservationTracking(
      [&] { static_cast<void>(state->isEnabled()); },
      [&] { late = withObservationTracking([&] { static_cast<void>(state->isEnabled()); }, [&] { ++calls; }); });
  state->setIsEnabled(false);
  EXPECT_EQ(calls, 0);
  state->setIsEnabled(true);
  EXPECT_EQ(calls, 1);
}

TEST_F(ObservationTest, TheStateMayBeReleasedByAReader) {
  bool secondWasTold = false;
  const Observation first =
      withObservationTracking([&] { static_cast<void>(state->isEnabled()); }, [&] { state = nullptr; });
  const Observation second =
      withObservationTracking([&] { static_cast<void>(state->isEnabled()); }, [&] { secondWasTold = true; });
  state->setIsEnabled(false);
  EXPECT_EQ(state, nullptr);
  EXPECT_TRUE(secondWasTold);
}

TEST_F(ObservationTest, WhatAToldReaderReadsIsNotReadByTheBodyThatMadeTheChange) {
  const Observation told = withObservationTracking([&] { static_cast<void>(state->isIntercepting()); },
                                                   [&] { static_cast<void>(state->blockedToday()); });
  int runs = 0;
  const Observation body = observe([&] {
    ++runs;
    state->setIsIntercepting(true);
  });
  state->incrementBlockedToday();
  EXPECT_EQ(runs, 1);
}

}  // namespace
}  // namespace varnoletKit
