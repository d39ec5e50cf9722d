#include "GuardDoubles.h"
#include "varnoletKit/ReactivationManager.h"

namespace varnoletKit {
namespace {

using Result = ReactivationResult;

class ReactivationManagerTest : public ::testing::Test {
 protected:
  ReactivationManagerTest() {
    desktop_.activate(thief_);
    desktop_.settle();
    desktop_.clearLog();
  }

  using Outcome = std::shared_ptr<std::optional<Result>>;
  Outcome reactivate(const NSRunningApplication& app) {
    auto outcome = std::make_shared<std::optional<Result>>();
    keepResult(manager_, app, outcome);
    return outcome;
  }
  static platform::DetachedTask keepResult(const ReactivationManager& manager, NSRunningApplication app,
                                           Outcome outcome) {
    *outcome = co_await manager.reactivate(app);
  }

  std::vector<LogLine> log() const { return logOf(desktop_, {LogCategory::focus}); }
  static LogLine info(std::string message) { return infoLine(LogCategory::focus, std::move(message)); }
  static LogLine error(std::string message) { return errorLine(LogCategory::focus, std::move(message)); }

  SimulatedDesktop desktop_;
  const NSRunningApplication app_ = desktop_.launch({.localizedName = "Editor"});
  const NSRunningApplication thief_ = desktop_.launch({.localizedName = "Thief"});
  ReactivationManager manager_;
};

TEST_F(ReactivationManagerTest, AnApplicationThatIsGoneIsNotAskedFor) {
  desktop_.quit(app_);
  EXPECT_THAT(*reactivate(app_), Optional(Result{Result::appTerminated{}}));
  EXPECT_EQ(desktop_.activationRequests(app_), 0u);
  EXPECT_THAT(log(), ElementsAre(info("Blessed app terminated — skipping re-activation")));
}

TEST_F(ReactivationManagerTest, ConfirmsAtTheFirstPollAndNotBefore) {
  const auto result = reactivate(app_);
  desktop_.advance(99ms);
  EXPECT_FALSE(result->has_value());
  desktop_.advance(1ms);
  EXPECT_THAT(*result, Optional(Result{Result::success{100}}));
  EXPECT_THAT(log(), ElementsAre(info("Re-activation call took 0ms for Editor"),
                                 info("Re-activation confirmed after 1 poll(s), total latency: 100ms")));
}

TEST_F(ReactivationManagerTest, TheLastPollStillConfirms) {
  desktop_.whenAskedToActivate(app_, ActivationBehaviour::obeysAfter(450ms));
  const auto result = reactivate(app_);
  desktop_.advance(500ms);
  EXPECT_THAT(*result, Optional(Result{Result::success{500}}));
  EXPECT_EQ(desktop_.timesLogged("Re-activation confirmed after 5 poll(s), total latency: 500ms"), 1u);
}

TEST_F(ReactivationManagerTest, GivesUpAfterFivePollsAndOneRequest) {
  desktop_.whenAskedToActivate(app_, ActivationBehaviour::ignores());
  const auto result = reactivate(app_);
  desktop_.advance(250ms);
  desktop_.setFrontmost(std::nullopt);  // nobody in front confirms nothing
  desktop_.advance(249ms);
  EXPECT_FALSE(result->has_value());
  desktop_.advance(1ms);
  EXPECT_THAT(*result, Optional(Result{Result::confirmationFailed{500}}));
  EXPECT_EQ(desktop_.activationRequests(app_), 1u);
  EXPECT_THAT(log(), ElementsAre(info("Re-activation call took 0ms for Editor"),
                                 error("Re-activation not confirmed after 5 attempts (500ms)")));
}

TEST_F(ReactivationManagerTest, AnApplicationThatQuitsMeanwhileIsNoticedAtTheNextPollAndAtTheLast) {
  for (const auto& [quitsAfter, noticedAfter] : {std::pair{150ms, 200ms}, {450ms, 500ms}}) {
    const auto app = desktop_.launch({});
    desktop_.whenAskedToActivate(app, ActivationBehaviour::ignores());
    desktop_.clearLog();
    const auto result = reactivate(app);
    desktop_.advance(quitsAfter);
    desktop_.quit(app);
    desktop_.advance(noticedAfter - quitsAfter - 1ms);
    EXPECT_FALSE(result->has_value());
    desktop_.advance(1ms);
    EXPECT_THAT(*result, Optional(Result{Result::appTerminated{}}));
    EXPECT_THAT(log(), ElementsAre(info("Re-activation call took 0ms for unknown"),
                                   info("Blessed app terminated during re-activation confirmation")));
  }
}

TEST_F(ReactivationManagerTest, ARefusedRequestIsAnErrorButThePollsDecide) {
  desktop_.whenAskedToActivate(app_, ActivationBehaviour::refusesYetComesAfter(120ms));
  const auto result = reactivate(app_);
  desktop_.advance(200ms);
  EXPECT_THAT(*result, Optional(Result{Result::success{200}}));
  EXPECT_THAT(log(),
              ElementsAre(error("activate() returned false for Editor"), info("Re-activation call took 0ms for Editor"),
                          info("Re-activation confirmed after 2 poll(s), total latency: 200ms")));
}

TEST_F(ReactivationManagerTest, OverlappingOnesCountForThemselves) {
  desktop_.whenAskedToActivate(app_, ActivationBehaviour::obeysAfter(140ms));
  const auto first = reactivate(app_);
  desktop_.advance(50ms);
  const auto second = reactivate(app_);
  desktop_.advance(100ms);
  EXPECT_FALSE(first->has_value());
  EXPECT_THAT(*second, Optional(Result{Result::success{100}}));
  desktop_.advance(50ms);
  EXPECT_THAT(*first, Optional(Result{Result::success{200}}));
}

}  // namespace
}  // namespace varnoletKit
