// Dispatch queues and run loops: threads that take turns.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/simulated/SimulatedDesktop.h"

namespace platform::simulated {
namespace {

using namespace std::chrono_literals;

CFMachPortRef createTap() {
  return CGEventTapCreate(
      CGEventTapLocation::hid, CGEventTapPlacement::headInsert, CGEventTapOptions::active, 1 << kCGEventKeyDown,
      [](CGEventTapProxy, CGEventType, CGEvent& event, void*) { return &event; }, nullptr);
}

// Work that never ends.
Work runLoopOf(const CFMachPortRef& port) {
  return [port] {
    CFRunLoopAddSource(CFRunLoopGetCurrent(), CFMachPortCreateRunLoopSource(kCFAllocatorDefault, port, 0),
                       kCFRunLoopCommonModes);
    for (;;) CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1.0, true);
  };
}

struct Queues : testing::Test {
  SimulatedDesktop desktop;
  std::unique_ptr<DispatchQueue> queue = dispatchQueueCreate("queue", QualityOfService::standard);
  std::string trace;
};

TEST_F(Queues, a_queue_runs_its_work_in_order_on_one_thread_that_is_not_the_main_thread) {
  std::thread::id thread;
  queue->async([&] {
    thread = std::this_thread::get_id();
    trace += "1";
  });
  queue->async([&] { trace += "2"; });
  EXPECT_EQ(trace, "");
  queue->sync([&] {
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_FALSE(isMainThread());
    trace += "3";
  });
  EXPECT_EQ(trace, "123");
}

TEST_F(Queues, sync_runs_nothing_of_the_main_thread_meanwhile) {
  runOnMainThread([&] { trace += "m"; });
  queue->sync([&] {
    sleepForTimeInterval(0.5);
    trace += "q";
  });
  EXPECT_EQ(trace, "q");
  desktop.settle();
  EXPECT_EQ(trace, "qm");
}

TEST_F(Queues, a_run_loop_ends_at_its_time_or_when_it_is_stopped_or_has_no_source) {
  std::vector<std::pair<CFRunLoopRunResult, std::uint64_t>> results;
  const auto start = DispatchTime::now().uptimeNanoseconds;
  const auto run = [&](double seconds) {
    const auto result = CFRunLoopRunInMode(kCFRunLoopDefaultMode, seconds, false);
    results.emplace_back(result, (DispatchTime::now().uptimeNanoseconds - start) / 1'000'000);
  };
  const auto port = createTap();
  const auto source = CFMachPortCreateRunLoopSource(kCFAllocatorDefault, port, 0);
  CFRunLoopRef loop;
  queue->async([&] {
    loop = CFRunLoopGetCurrent();
    run(1.0);
    CFRunLoopAddSource(loop, source, kCFRunLoopCommonModes);
    CFRunLoopStop(loop);  // not running: nothing to stop
    run(1.0);
    run(1.0);
    run(1.0);
  });
  desktop.advance(1500ms);
  CFRunLoopStop(loop);
  desktop.pressKey('a');  // without the flag a loop goes on after it
  desktop.advance(100ms);
  CFRunLoopRemoveSource(loop, source, kCFRunLoopCommonModes);
  desktop.settle();
  using enum CFRunLoopRunResult;
  EXPECT_EQ(results, (std::vector<std::pair<CFRunLoopRunResult, std::uint64_t>>{
                         {finished, 0}, {timedOut, 1000}, {stopped, 1500}, {finished, 1600}}));
}

TEST(QueueAtTheEnd, a_desktop_that_goes_away_unwinds_threads_out_of_their_run_loops) {
  std::unique_ptr<DispatchQueue> outlives;
  auto held = std::make_shared<int>();
  {
    SimulatedDesktop desktop;
    outlives = dispatchQueueCreate("queue", QualityOfService::standard);
    const Work runLoop = runLoopOf(createTap());
    outlives->async([held, runLoop] { runLoop(); });
    outlives->async([held] { FAIL(); });
    desktop.advance(3s);
  }
  EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace platform::simulated
