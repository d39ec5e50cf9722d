#include "GuardDoubles.h"
#include "varnoletKit/AXObserverManager.h"
#include "varnoletKit/ApplicationIdentifier.h"

namespace varnoletKit {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Not;

class AXObserverManagerTest : public ::testing::Test {
 protected:
  NSRunningApplication launch(std::int32_t pid) {
    return desktop_.launch({.pid = pid, .localizedName = "App " + std::to_string(pid)});
  }
  std::vector<std::string> log() const { return desktop_.logMessages(LogCategory::focus); }
  std::size_t observers(std::int32_t pid) const { return desktop_.observersOf(pid); }

  SimulatedDesktop desktop_;
  std::shared_ptr<AXObserverManager> manager_ = std::make_shared<AXObserverManager>();
};

TEST_F(AXObserverManagerTest, WhatRunsAlreadyIsRegisteredInTheBackground) {
  launch(11);
  launch(12);
  launch(13);
  desktop_.refuseObserver(12, platform::AXError::cannotComplete);
  manager_->startMonitoring();
  EXPECT_THAT(log(), ElementsAre("AXObserverManager started monitoring (background registration in progress)"));
  EXPECT_EQ(desktop_.liveRunLoopSources(), 0u);
  manager_->startMonitoring();
  desktop_.settle();
  EXPECT_THAT(log(), ElementsAre("AXObserverManager started monitoring (background registration in progress)",
                                 "AXObserverManager.startMonitoring() called but already monitoring — skipping",
                                 "Registered AXObserver for PID 11", "Failed to create AXObserver for PID 12: -25204",
                                 "Registered AXObserver for PID 13",
                                 "AXObserverManager finished registering observers for 3 apps"));
  EXPECT_EQ(desktop_.liveRunLoopSources(), 2u);
}

TEST_F(AXObserverManagerTest, WithNothingRunningTheRegistrationIsFinishedAtOnce) {
  manager_->startMonitoring();
  desktop_.settle();
  EXPECT_EQ(desktop_.timesLogged("AXObserverManager finished registering observers for 0 apps"), 1u);
}

TEST_F(AXObserverManagerTest, ObserversComeAndGoWithTheirProcesses) {
  manager_->startMonitoring();
  desktop_.settle();
  desktop_.clearLog();
  desktop_.refuseNotification(22, platform::AXError::notificationUnsupported);
  const auto first = launch(21);
  const auto second = launch(22);
  desktop_.settle();
  desktop_.announceLaunch(first);
  desktop_.settle();
  EXPECT_EQ(observers(21), 1u);
  desktop_.quit(first);
  desktop_.quit(second);
  desktop_.settle();
  EXPECT_EQ(desktop_.liveRunLoopSources(), 0u);
  EXPECT_THAT(log(), ElementsAre("Registered AXObserver for PID 21", "Failed to add AX notification for PID 22: -25207",
                                 "Deregistered AXObserver for PID 21"));
}

TEST_F(AXObserverManagerTest, AProcessWithoutAnIdentifierIsLeftAlone) {
  launch(-1);
  manager_->startMonitoring();
  desktop_.settle();
  launch(-2);
  desktop_.settle();
  EXPECT_EQ(desktop_.liveRunLoopSources(), 0u);
  EXPECT_THAT(log(), ElementsAre("AXObserverManager started monitoring (background registration in progress)",
                                 "AXObserverManager finished registering observers for 1 apps"));
}

TEST_F(AXObserverManagerTest, AnActivationIsAnnouncedATenthOfASecondLater) {
  std::vector<std::optional<std::int32_t>> announced;
  platform::NSNotificationCenter::defaultCenter().addObserverForName(
      std::string(applicationIdentifier) + ".axActivationDetected", platform::NSOperationQueue::poster,
      [&](const platform::NSNotification& notification) {
        announced.push_back(notification.value<std::int32_t>("pid"));
      });
  const auto app = launch(31);
  manager_->startMonitoring();
  desktop_.settle();
  desktop_.announceActivation(31);
  desktop_.advance(99ms);
  EXPECT_THAT(announced, IsEmpty());
  desktop_.quit(app);  // what it said stands
  desktop_.advance(1ms);
  EXPECT_THAT(announced, ElementsAre(Optional(31)));
  EXPECT_EQ(desktop_.timesLogged("AXObserver: activation detected for PID 31"), 1u);
}

TEST_F(AXObserverManagerTest, ALaunchThatOvertakesTheBackgroundKeepsTheOnlyObserver) {
  const auto app = launch(41);
  desktop_.duringBackgroundRegistration(41, [&] { desktop_.announceLaunch(app); });
  manager_->startMonitoring();
  desktop_.settle();
  EXPECT_EQ(observers(41), 1u);
  EXPECT_EQ(desktop_.timesLogged("Registered AXObserver for PID 41"), 1u);
  desktop_.announceActivation(41);
  desktop_.advance(100ms);
  EXPECT_EQ(desktop_.timesLogged("AXObserver: activation detected for PID 41"), 1u);
}

TEST_F(AXObserverManagerTest, AStopInTheMiddleOfTheBackgroundRegistrationDoesNotEndIt) {
  launch(51);
  launch(52);
  desktop_.duringBackgroundRegistration(51, [&] { manager_->stopMonitoring(); });
  manager_->startMonitoring();
  desktop_.settle();
  EXPECT_EQ(observers(51), 1u);
  EXPECT_EQ(observers(52), 1u);
  manager_->startMonitoring();
  desktop_.settle();
  EXPECT_EQ(desktop_.timesLogged("Registered AXObserver for PID 51"), 1u);
  manager_->stopMonitoring();
  EXPECT_EQ(desktop_.liveRunLoopSources(), 0u);
}

TEST_F(AXObserverManagerTest, StoppingLetsGoOfEverythingAndIsHarmlessTwice) {
  launch(61);
  launch(62);
  manager_->startMonitoring();
  desktop_.settle();
  desktop_.clearLog();
  manager_->stopMonitoring();
  manager_->stopMonitoring();
  EXPECT_EQ(desktop_.liveRunLoopSources(), 0u);
  launch(63);
  desktop_.settle();
  EXPECT_THAT(log(), ElementsAre("Deregistered AXObserver for PID 61", "Deregistered AXObserver for PID 62",
                                 "AXObserverManager stopped monitoring", "AXObserverManager stopped monitoring"));
}

TEST_F(AXObserverManagerTest, AManagerMayGoAtAnyMomentOfTheRegistration) {
  launch(71);
  launch(72);
  manager_->startMonitoring();
  manager_.reset();
  desktop_.settle();
  EXPECT_THAT(log(), Not(Contains("Registered AXObserver for PID 71")));

  manager_ = std::make_shared<AXObserverManager>();
  desktop_.duringBackgroundRegistration(72, [&] { manager_.reset(); });
  manager_->startMonitoring();
  desktop_.settle();
  EXPECT_THAT(log(),
              AllOf(Contains("Registered AXObserver for PID 71"), Not(Contains("Registered AXObserver for PID 72"))));
  EXPECT_EQ(desktop_.liveRunLoopSources(), 0u);
}

}  // namespace
}  // namespace varnoletKit
