#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/Coroutine.h"
#include "platform/simulated/SimulatedDesktop.h"

namespace platform {
namespace {

using namespace std::chrono_literals;
using simulated::SimulatedDesktop;

// Polls until the counter is high enough, five times at most.
Async<int> pollUntil(const int* counter, int enough) {
  for (int poll = 1; poll <= 5; ++poll) {
    co_await sleepOnMainThread(100ms);
    EXPECT_TRUE(isMainThread());
    if (*counter >= enough) co_return poll;
  }
  co_return 0;
}

DetachedTask storePoll(const int* counter, int enough, int* result) {
  *result = co_await pollUntil(counter, enough);
}

TEST(Coroutine, suspends_between_polls_and_returns_at_the_edge) {
  SimulatedDesktop desktop;
  int counter = 0;
  int result = -1;
  storePoll(&counter, 1, &result);
  desktop.advance(299ms);
  counter = 1;
  EXPECT_EQ(result, -1);
  desktop.advance(1ms);
  EXPECT_EQ(result, 3);

  storePoll(&counter, 2, &result);
  desktop.advance(499ms);
  EXPECT_EQ(result, 3);
  desktop.advance(1ms);
  EXPECT_EQ(result, 0);
}

Async<void> hop(std::string* trace) {
  const auto note = [trace](const char* what) { *trace += what + std::string(isMainThread() ? "m " : "b "); };
  note("1");
  co_await resumeInBackground(QualityOfService::userInitiated);
  note("2");
  co_await resumeOnMainThread();
  note("3");
  co_await resumeInBackground(QualityOfService::userInitiated);
  note("4");
}

DetachedTask hopTwice(std::string* trace) {
  co_await hop(trace);
  co_await hop(trace);
  *trace += isMainThread() ? "end m" : "end b";
}

TEST(Coroutine, starts_at_once_hops_between_threads_and_its_awaiter_goes_on_where_it_ends) {
  SimulatedDesktop desktop;
  std::string trace;
  hopTwice(&trace);
  EXPECT_EQ(trace, "1m ");
  runInBackground(QualityOfService::standard, [&] { runOnMainThread([&] { trace += "other "; }); });
  desktop.settle();
  EXPECT_EQ(trace, "1m 2b 3m other 4b 1b 2b 3m 4b end b");
}

Async<std::unique_ptr<int>> holdAcross(std::shared_ptr<int> held, bool inBackground) {
  if (inBackground) {
    co_await resumeInBackground(QualityOfService::standard);
  } else {
    co_await sleepOnMainThread(1s);
  }
  co_await resumeOnMainThread();
  co_return std::make_unique<int>(*held);
}

DetachedTask holdTwice(std::shared_ptr<int> held, bool inBackground, int* result) {
  *result += *co_await holdAcross(held, inBackground);
  *result += *co_await holdAcross(held, inBackground);
}

TEST(Coroutine, frees_its_frames_when_it_ends_and_when_its_desktop_goes_away_at_whatever_point) {
  for (const bool inBackground : {false, true}) {
    const auto held = std::make_shared<int>(21);
    int result = 0;
    {
      SimulatedDesktop desktop;
      holdTwice(held, inBackground, &result);
      desktop.advance(10s);
      EXPECT_EQ(result, 42);
      EXPECT_EQ(held.use_count(), 1);

      holdTwice(held, inBackground, &result);
      if (!inBackground) desktop.advance(1s);
      EXPECT_GT(held.use_count(), 1);
    }
    EXPECT_EQ(held.use_count(), 1);
  }
}

TEST(Coroutine, that_nobody_awaits_never_starts) {
  SimulatedDesktop desktop;
  const auto held = std::make_shared<int>(1);
  { const auto never = holdAcross(held, false); }
  EXPECT_EQ(held.use_count(), 1);
  std::string trace;
  { const auto never = hop(&trace); }
  desktop.settle();
  EXPECT_EQ(trace, "");
}

}  // namespace
}  // namespace platform
