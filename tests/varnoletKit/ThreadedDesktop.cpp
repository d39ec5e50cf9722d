#include "ThreadedDesktop.h"

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <thread>
#include <utility>

namespace varnoletKit {
namespace {

constexpr int haste = 1000;

void switchAllLogLevels(bool on) {
  for (auto& levels : platform::enabledLogLevels) levels = on ? 0xFF : 0;
}

}  // namespace

struct ThreadedDesktop::Threads {
  const std::thread::id mainThread = std::this_thread::get_id();
  std::mutex mutex;
  std::condition_variable fewer;
  int running = 0;
  std::atomic<int> due{0};
  std::atomic<bool> actTooLate{false};
};

// One thread that waits, and acts unless it was cancelled by then.
class ThreadedDesktop::Timer final : public platform::ScheduledTask::Pending {
 public:
  Timer(std::shared_ptr<Threads> threads, std::chrono::nanoseconds delay, platform::Work work) {
    const std::lock_guard lock(threads->mutex);
    ++threads->running;
    thread_ = std::thread([threads = std::move(threads), state = state_, delay, work = std::move(work)]() mutable {
      if (!state->isCancelledWithin(delay)) {
        ++threads->due;
        if (threads->actTooLate) state->waitUntilCancelled();
        work();
      }
      work = nullptr;
      const std::lock_guard ending(threads->mutex);
      --threads->running;
      threads->fewer.notify_all();
    });
  }

  void cancel() noexcept override {
    {
      const std::lock_guard lock(state_->mutex);
      state_->isCancelled = true;
    }
    state_->cancelled.notify_all();
    thread_.get_id() == std::this_thread::get_id() ? thread_.detach() : thread_.join();
  }

 private:
  // Outlives the timer in a thread that cancels itself.
  struct State {
    bool isCancelledWithin(std::chrono::nanoseconds delay) {
      std::unique_lock lock(mutex);
      return cancelled.wait_until(lock, std::chrono::system_clock::now() + delay, [this] { return isCancelled; });
    }
    void waitUntilCancelled() {
      std::unique_lock lock(mutex);
      cancelled.wait(lock, [this] { return isCancelled; });
    }
    std::mutex mutex;
    std::condition_variable cancelled;
    bool isCancelled = false;
  };

  std::shared_ptr<State> state_ = std::make_shared<State>();
  std::thread thread_;
};

ThreadedDesktop::ThreadedDesktop() : installed_(*this), threads_(std::make_shared<Threads>()) {
  switchAllLogLevels(true);
}

ThreadedDesktop::~ThreadedDesktop() {
  waitForTimers();
  switchAllLogLevels(false);
}

void ThreadedDesktop::waitForTimers() {
  std::unique_lock lock(threads_->mutex);
  threads_->fewer.wait(lock, [this] { return threads_->running == 0; });
}

void ThreadedDesktop::runMainThreadWork() {
  std::vector<platform::Work> due;
  {
    const std::lock_guard lock(mutex_);
    due = std::exchange(mainThreadWork_, {});
  }
  for (const auto& work : due) work();
}

void ThreadedDesktop::letTimersActTooLate() {
  threads_->actTooLate = true;
}

int ThreadedDesktop::timersDue() const {
  return threads_->due;
}

void ThreadedDesktop::post(platform::CGEventTapLocation, std::unique_ptr<platform::CGEvent> event) {
  if (onPost) onPost(std::move(event));
}

void ThreadedDesktop::write(platform::LogCategory, platform::LogLevel, const std::string&) {
  if (onLog) onLog();
}

void ThreadedDesktop::runOnMainThread(platform::Work work) {
  const std::lock_guard lock(mutex_);
  mainThreadWork_.push_back(std::move(work));
}

platform::ScheduledTask ThreadedDesktop::runInBackgroundAfter(std::chrono::nanoseconds delay, platform::Work work) {
  if (onStartTimer) onStartTimer();
  return platform::ScheduledTask(std::make_unique<Timer>(threads_, delay / haste, std::move(work)));
}

bool ThreadedDesktop::isMainThread() {
  return threads_->mainThread == std::this_thread::get_id();
}

void ThreadedDesktop::missing() {
  std::abort();
}

}  // namespace varnoletKit
