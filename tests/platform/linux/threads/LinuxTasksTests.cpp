#include <gtest/gtest.h>

#include <QEventLoop>
#include <atomic>

#include "platform/Coroutine.h"
#include "platform/linux/threads/LinuxTasks.h"
#include "platform/simulated/SimulatedDesktop.h"
#include "tests/platform/linux/EventLoop.h"

namespace platform::linux_desktop {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class LinuxTasksTest : public testing::Test {
 protected:
  LinuxTasks tasks;
};

TEST_F(LinuxTasksTest, MainThreadWorkKeepsTheOrderOfEachThreadAndNeverRunsInsideTheCall) {
  constexpr int perThread = 2000;
  std::vector<std::vector<int>> seen(3);
  const auto addAll = [&](std::size_t lane) {
    for (int i = 0; i < perThread; ++i) tasks.runOnMainThread([&seen, lane, i] { seen[lane].push_back(i); });
  };
  addAll(0);
  EXPECT_TRUE(seen[0].empty());
  std::thread one([&] { addAll(1); });
  std::thread two([&] { addAll(2); });
  ASSERT_TRUE(runUntil([&] { return seen[0].size() + seen[1].size() + seen[2].size() == 3 * std::size_t{perThread}; }));
  one.join();
  two.join();
  for (const auto& lane : seen) EXPECT_TRUE(std::is_sorted(lane.begin(), lane.end()));
}

TEST_F(LinuxTasksTest, ANestedEventLoopGoesOnWithTheWorkThatWaits) {
  std::string order;
  tasks.runOnMainThread([&] {
    QEventLoop nested;
    tasks.runOnMainThread([&] { nested.quit(); });
    nested.exec();
    order += 'a';
  });
  tasks.runOnMainThread([&] { order += 'b'; });
  ASSERT_TRUE(runUntil([&] { return order.size() == 2; }));
  EXPECT_EQ(order, "ba");
}

TEST_F(LinuxTasksTest, WorkForLaterActsInTheOrderOfItsTimesAndNotEarlier) {
  const auto start = Clock::now();
  std::string order;
  std::vector<ScheduledTask> handles;
  const auto add = [&](std::chrono::milliseconds delay, char name) {
    handles.push_back(tasks.runOnMainThreadAfter(delay, [&, delay, name] {
      EXPECT_TRUE(tasks.isMainThread());
      EXPECT_GE(Clock::now() - start, delay);
      order += name;
    }));
  };
  add(60ms, 'c');
  add(20ms, 'b');
  add(-5ms, 'a');
  handles.push_back(tasks.runOnMainThreadAfter(std::chrono::nanoseconds::max(), [&] { order += 'x'; }));
  ASSERT_TRUE(runUntil([&] { return order.size() == 3; }));
  EXPECT_EQ(order, "abc");
}

TEST_F(LinuxTasksTest, ACancelledTaskNeverActsAndLetsGoOfWhatItHeld) {
  const auto held = std::make_shared<int>();
  bool acted = false;
  auto inBackground = tasks.runInBackgroundAfter(20ms, [&acted, held] { acted = true; });
  auto onMain = tasks.runOnMainThreadAfter(1ms, [&acted, held] { acted = true; });
  std::this_thread::sleep_for(10ms);  // the second one is due now and waits for this thread
  inBackground.cancel();
  onMain = ScheduledTask();
  EXPECT_EQ(held.use_count(), 1);
  runFor(40ms);
  EXPECT_FALSE(acted);
}

TEST_F(LinuxTasksTest, CancellingWaitsForWorkThatActsOnAnotherThread) {
  std::atomic<bool> started = false;
  int written = 0;  // unprotected on purpose: that cancelling waits is all that orders the two threads
  auto inBackground = tasks.runInBackgroundAfter(0ms, [&] {
    started = true;
    std::this_thread::sleep_for(30ms);
    written = 1;
  });
  while (!started) std::this_thread::yield();
  inBackground.cancel();
  EXPECT_EQ(written, 1);

  started = false;
  auto onMain = tasks.runOnMainThreadAfter(0ms, [&] {
    started = true;
    std::this_thread::sleep_for(30ms);
    written = 2;
  });
  int seen = 0;
  std::thread other([&] {
    while (!started) std::this_thread::yield();
    onMain.cancel();
    seen = written;
  });
  ASSERT_TRUE(runUntil([&] { return started.load(); }));
  other.join();
  EXPECT_EQ(seen, 2);
}

TEST_F(LinuxTasksTest, WorkMayCancelItselfAndScheduleItsSuccessor) {
  ScheduledTask handle;
  std::mutex mutex;
  std::atomic<int> rounds = 0;
  std::function<void()> again = [&] {
    const std::lock_guard lock(mutex);
    if (++rounds < 5) handle = tasks.runInBackgroundAfter(1ms, again);
  };
  {
    const std::lock_guard lock(mutex);
    handle = tasks.runInBackgroundAfter(1ms, again);
  }
  ASSERT_TRUE(runUntil([&] { return rounds == 5; }));
}

TEST_F(LinuxTasksTest, CancellingRacesWithFiringWithoutHarm) {
  int acted = 0;
  for (int round = 0; round < 500; ++round) {
    int local = 0;
    auto handle = tasks.runInBackgroundAfter(std::chrono::microseconds(round % 50), [&local] { ++local; });
    if (round % 2) std::this_thread::sleep_for(std::chrono::microseconds(round % 90));
    handle.cancel();
    acted += local;
  }
  EXPECT_GT(acted, 0);
  EXPECT_LT(acted, 500);
}

TEST_F(LinuxTasksTest, AQueueDoesItsWorkOneAfterAnotherAndNothingIsUnfinishedAtTheEnd) {
  int done = 0;  // unprotected on purpose
  {
    const auto queue = tasks.createQueue("app.varnolet.Varnolet.eventtap", QualityOfService::userInteractive);
    for (int i = 0; i < 100; ++i) {
      queue->async([&done, i] { done = done == i ? i + 1 : -1000; });
    }
    queue->sync([&] { EXPECT_EQ(done, 100); });
    queue->async([&] { std::this_thread::sleep_for(20ms); });
    queue->async([&] { done = 200; });
  }
  EXPECT_EQ(done, 200);

  std::atomic<int> inBackground = 0;
  for (int i = 0; i < 20; ++i) {
    tasks.runInBackground(QualityOfService::userInitiated, [&] {
      EXPECT_FALSE(tasks.isMainThread());
      std::this_thread::sleep_for(1ms);
      ++inBackground;
    });
  }
  tasks.finish();
  EXPECT_EQ(inBackground, 20);
}

// Real tasks; nothing else of the desktop is needed here.
class DesktopWithTasks : public simulated::SimulatedDesktop {
 public:
  TaskServices& tasks() override { return tasks_; }
  void finish() { tasks_.finish(); }

 private:
  LinuxTasks tasks_;
};

// Counts itself while it lives, and needs the installed desktop when it goes.
class Held {
 public:
  explicit Held(int& living) : living_(living) { ++living_; }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;
  ~Held() {
    EXPECT_TRUE(isMainThread());
    runOnMainThread([] { FAIL() << "nothing acts any more"; });
    --living_;
  }

 private:
  int& living_;
};

Async<void> sleepHolding(std::shared_ptr<Held> held, std::chrono::nanoseconds duration) {
  co_await sleepOnMainThread(duration);
  ADD_FAILURE() << "woke up, held " << held.use_count();
}

DetachedTask awaitSleep(std::shared_ptr<Held> held, std::chrono::nanoseconds duration) {
  co_await sleepHolding(held, duration);
}

DetachedTask returnFromBackground(std::shared_ptr<Held> held) {
  co_await resumeInBackground(QualityOfService::standard);
  co_await resumeOnMainThread();
  ADD_FAILURE() << "went on, held " << held.use_count();
}

TEST(LinuxTasksEnd, CoroutinesThatAreStillAsleepEndWithAllThatTheyHold) {
  DesktopWithTasks desktop;
  int living = 0;
  awaitSleep(std::make_shared<Held>(living), 1h);
  awaitSleep(std::make_shared<Held>(living), 1ms);
  returnFromBackground(std::make_shared<Held>(living));
  const auto timer = runOnMainThreadAfter(1h, [held = std::make_shared<Held>(living)] {});
  EXPECT_EQ(living, 4);
  std::this_thread::sleep_for(20ms);  // the second one is due now and waits for this thread
  desktop.finish();
  EXPECT_EQ(living, 0);
}

}  // namespace
}  // namespace platform::linux_desktop
