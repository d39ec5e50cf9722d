#include <gtest/gtest.h>

#include <functional>
#include <thread>

#include "platform/linux/threads/LinuxRunLoops.h"
#include "platform/simulated/SimulatedDesktop.h"

namespace platform::linux_desktop {
namespace {

using namespace std::chrono_literals;

// Has nothing to do.
class IdleSource : public PolledSource {
 public:
  void addPollDescriptors(std::vector<pollfd>&) override {}
  std::optional<Clock::time_point> deadline() override { return std::nullopt; }
  bool perform() override { return false; }
};

// Calls for a stop from another thread each time that the loop looks at it.
class StoppingSource : public IdleSource {
 public:
  explicit StoppingSource(std::function<void()> stop) : stop_(std::move(stop)) {}
  void addPollDescriptors(std::vector<pollfd>&) override { std::thread(stop_).join(); }

 private:
  std::function<void()> stop_;
};

TEST(LinuxRunLoops, AStopEndsTheRunInProgressAndNoOther) {
  const simulated::SimulatedDesktop mainThreadIsElsewhere;
  std::thread([] {
    constexpr auto anyMode = kCFRunLoopDefaultMode;
    LinuxRunLoops loops;
    const auto loop = loops.current();
    EXPECT_EQ(loops.runInMode(anyMode, 60, false), CFRunLoopRunResult::finished) << "without a source";
    const auto idle = std::make_shared<IdleSource>();
    loops.addSource(loop, idle, anyMode);
    loops.stop(loop);
    EXPECT_EQ(loops.runInMode(anyMode, 0.02, false), CFRunLoopRunResult::timedOut) << "stopped before it began";
    const auto stopping = std::make_shared<StoppingSource>([&] { loops.stop(loop); });
    loops.addSource(loop, stopping, anyMode);
    EXPECT_EQ(loops.runInMode(anyMode, 60, false), CFRunLoopRunResult::stopped);
    loops.removeSource(loop, stopping, anyMode);
    EXPECT_EQ(loops.runInMode(anyMode, 0.02, false), CFRunLoopRunResult::timedOut) << "after one that was stopped";
  }).join();
}

}  // namespace
}  // namespace platform::linux_desktop
