// Virtual time and what runs when: faults here would hide faults of every timer of the engine.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>

#include "platform/simulated/SimulatedDesktop.h"

namespace platform::simulated {
namespace {

using namespace std::chrono_literals;

struct Time : testing::Test {
  Work note(const std::string& what) {
    return [this, what] { trace += what; };
  }

  std::string trace;
  SimulatedDesktop desktop;
};

TEST_F(Time, a_timer_fires_at_its_edge_and_once) {
  const auto onMain = runOnMainThreadAfter(200ms, note("m"));
  const auto inBackground = runInBackgroundAfter(200ms, note("b"));
  desktop.advance(199ms);
  desktop.advance(999'999ns);
  desktop.settle();
  EXPECT_EQ(trace, "");
  desktop.advance(1ns);
  EXPECT_EQ(trace, "mb");
  desktop.advance(10s);
  EXPECT_EQ(trace, "mb");
}

TEST_F(Time, work_due_at_one_moment_runs_in_the_order_of_its_handing_over_on_whatever_thread) {
  const auto late = runOnMainThreadAfter(2ms, note("5"));
  const auto first = runInBackgroundAfter(1ms, note("1"));
  const auto second = runOnMainThreadAfter(1ms, [&] {
    trace += "2";
    runOnMainThread(note("4"));
  });
  const auto third = runInBackgroundAfter(1ms, note("3"));
  desktop.advance(2ms);
  EXPECT_EQ(trace, "12345");
}

TEST_F(Time, a_sleeping_main_thread_lets_other_threads_work_but_none_of_its_own) {
  auto background = runInBackgroundAfter(40ms, note("b"));
  auto onMain = runOnMainThreadAfter(20ms, note("m"));
  runOnMainThread([&] {
    const auto before = DispatchTime::now().uptimeNanoseconds;
    sleepForTimeInterval(0.1);
    EXPECT_EQ(DispatchTime::now().uptimeNanoseconds - before, 100'000'000U);
    trace += "s";
  });
  desktop.settle();
  EXPECT_EQ(trace, "bsm");
}

TEST_F(Time, a_cancelled_or_forgotten_timer_does_not_act_and_frees_what_it_holds) {
  auto held = std::make_shared<int>();
  auto cancelled = runInBackgroundAfter(1ms, [held] { FAIL(); });
  auto replaced = runOnMainThreadAfter(1ms, [held] { FAIL(); });
  {
    const auto forgotten = runOnMainThreadAfter(1ms, [held] { FAIL(); });
  }
  EXPECT_TRUE(cancelled);
  cancelled.cancel();
  replaced = runOnMainThreadAfter(2ms, note("r"));
  EXPECT_FALSE(cancelled);
  EXPECT_EQ(held.use_count(), 1);
  desktop.advance(1s);
  EXPECT_EQ(trace, "r");
}

TEST_F(Time, cancelling_waits_for_work_that_is_acting_on_another_thread) {
  auto timer = runInBackgroundAfter(10ms, [&] {
    trace += "[";
    sleepForTimeInterval(0.02);
    trace += "]";
  });
  desktop.advance(15ms);
  ASSERT_EQ(trace, "[");
  timer.cancel();
  EXPECT_EQ(trace, "[]");
}

TEST_F(Time, work_may_come_from_threads_that_the_desktop_has_not_made) {
  std::thread stranger([&] {
    for (int i = 0; i < 100; ++i) {
      runOnMainThread(note("x"));
      runInBackgroundAfter(1ms, [] {}).cancel();
      EXPECT_FALSE(isMainThread());
    }
  });
  desktop.advance(1ms);
  stranger.join();
  desktop.settle();
  EXPECT_EQ(trace, std::string(100, 'x'));
}

TEST(TimeAtTheEnd, a_thread_asleep_is_woken_and_ended) {
  bool ended = false;
  {
    SimulatedDesktop desktop;
    runInBackground(QualityOfService::standard, [&] {
      sleepForTimeInterval(3600);
      ended = true;
    });
    desktop.settle();
    EXPECT_FALSE(ended);
  }
  EXPECT_TRUE(ended);
}

}  // namespace
}  // namespace platform::simulated
