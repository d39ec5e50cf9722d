#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Varnolet/PauseManager.h"
#include "platform/simulated/SimulatedDesktop.h"
#include "varnoletKit/Observation.h"

namespace varnolet {
namespace {

using namespace std::chrono_literals;
using platform::simulated::LogLine;

LogLine info(const std::string& message) {
  return {platform::LogCategory::focus, platform::LogLevel::info, message};
}

class PauseManagerTest : public testing::Test {
 protected:
  void expectRunning() const {
    EXPECT_FALSE(manager->isPaused());
    EXPECT_EQ(manager->pauseEndTime(), std::nullopt);
    EXPECT_EQ(manager->resumeTimer(), nullptr);
    EXPECT_TRUE(state->isEnabled());
  }
  void expectPaused(std::optional<platform::Date> end) const {
    EXPECT_TRUE(manager->isPaused());
    EXPECT_EQ(manager->pauseEndTime(), end);
    EXPECT_EQ(manager->resumeTimer() != nullptr, end.has_value());
    EXPECT_FALSE(state->isEnabled());
  }

  platform::simulated::SimulatedDesktop desktop;
  std::shared_ptr<varnoletKit::FocusGuardState> state = std::make_shared<varnoletKit::FocusGuardState>();
  std::shared_ptr<PauseManager> manager = PauseManager::create(state);
};

TEST_F(PauseManagerTest, BeginsUnpausedAndLeavesTheStateAlone) {
  state->setIsEnabled(false);
  const auto other = PauseManager::create(state);
  EXPECT_FALSE(other->isPaused());
  EXPECT_EQ(other->pauseEndTime(), std::nullopt);
  EXPECT_FALSE(state->isEnabled());
  EXPECT_TRUE(desktop.logLines().empty());
}

TEST_F(PauseManagerTest, AnHourEndsByItselfAndNotEarlier) {
  const auto end = platform::dateNow() + 3600s;
  manager->pauseForOneHour();
  expectPaused(end);
  desktop.advance(3600s - 1ms);
  expectPaused(end);
  desktop.advance(1ms);
  expectRunning();
  EXPECT_EQ(desktop.logLines(), (std::vector{info("Focus guard paused for one hour."), info("Focus guard resumed.")}));
}

TEST_F(PauseManagerTest, ASecondHourBeginsAnewAndAnIndefinitePauseHasNoEnd) {
  manager->pauseForOneHour();
  desktop.advance(10min);
  const auto end = platform::dateNow() + 3600s;
  manager->pauseForOneHour();
  desktop.advance(50min);
  expectPaused(end);
  desktop.advance(10min - 1ms);
  expectPaused(end);

  manager->pauseIndefinitely();
  desktop.advance(48h);
  expectPaused(std::nullopt);
  manager->resume();
  expectRunning();
  EXPECT_EQ(desktop.logMessages(platform::LogCategory::focus),
            (std::vector<std::string>{"Focus guard paused for one hour.", "Focus guard paused for one hour.",
                                      "Focus guard paused indefinitely.", "Focus guard resumed."}));
}

TEST_F(PauseManagerTest, ResumingEndsAPauseForGoodAndSwitchesProtectionOnWithoutOne) {
  manager->pauseForOneHour();
  manager->resume();
  expectRunning();
  state->setIsEnabled(false);  // by something else than a pause
  desktop.advance(2h);
  EXPECT_FALSE(state->isEnabled());
  manager->resume();
  expectRunning();
}

TEST_F(PauseManagerTest, ACommandGivenAsTheHourEndsStands) {
  // After the timer fired, before its task runs.
  const auto whenTheHourEnds = [&](const std::function<void()>& command) {
    const auto rival = platform::runOnMainThreadAfter(3600s, [&] { platform::runOnMainThread(command); });
    manager->pauseForOneHour();
    desktop.advance(3600s);
  };
  whenTheHourEnds([&] { manager->pauseIndefinitely(); });
  expectPaused(std::nullopt);
  whenTheHourEnds([&] { manager->pauseForOneHour(); });
  expectPaused(platform::dateNow() + 3600s);
}

TEST_F(PauseManagerTest, ATimerThatFiresAfterTheManagerIsGoneDoesNothing) {
  manager->pauseForOneHour();
  const auto release = platform::runOnMainThreadAfter(3600s, [&] { manager = nullptr; });
  desktop.advance(2h);
  EXPECT_EQ(manager, nullptr);
  EXPECT_FALSE(state->isEnabled());
}

TEST_F(PauseManagerTest, ReadersAreToldOfDifferencesOnly) {
  int paused = 0;
  int ends = 0;
  int timers = 0;
  const auto first = varnoletKit::observe([&] { paused += manager->isPaused() ? 1 : 100; });
  const auto second = varnoletKit::observe([&] {
    static_cast<void>(manager->pauseEndTime());
    ++ends;
  });
  const auto third = varnoletKit::observe([&] {
    static_cast<void>(manager->resumeTimer());
    ++timers;
  });
  manager->pauseForOneHour();
  EXPECT_EQ(paused, 101);
  EXPECT_EQ(ends, 2);
  EXPECT_EQ(timers, 2);
  manager->pauseForOneHour();  // at the same moment: the same end, another timer
  EXPECT_EQ(paused, 101);
  EXPECT_EQ(ends, 2);
  EXPECT_EQ(timers, 4);
  manager->pauseIndefinitely();
  manager->pauseIndefinitely();
  EXPECT_EQ(paused, 101);
  EXPECT_EQ(ends, 3);
  EXPECT_EQ(timers, 5);
  manager->resume();
  EXPECT_EQ(paused, 201);
}

}  // namespace
}  // namespace varnolet
