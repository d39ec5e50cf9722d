#include "platform/linux/threads/TimerThread.h"

#include <algorithm>

#include "platform/linux/threads/WorkerThreads.h"

namespace platform::linux_desktop {
namespace {

// Far enough to be never, near enough for the clock not to overflow.
constexpr std::chrono::nanoseconds longestDelay = std::chrono::hours(24 * 365 * 10);

}  // namespace

class TimerThread::TimedWork {
 public:
  explicit TimedWork(Work work) : work_(std::move(work)) {}

  void act() {
    Work work;
    {
      const std::lock_guard lock(mutex_);
      if (state_ != State::waiting) return;
      state_ = State::acting;
      actor_ = std::this_thread::get_id();
      work = std::move(work_);
    }
    work();
    work = nullptr;  // who cancels may rely on what the work held being gone
    const std::lock_guard lock(mutex_);
    state_ = State::over;
    acted_.notify_all();
  }

  void cancel() noexcept {
    Work dropped;
    std::unique_lock lock(mutex_);
    if (state_ == State::waiting) {
      state_ = State::over;
      dropped = std::move(work_);
    } else if (actor_ != std::this_thread::get_id()) {
      acted_.wait(lock, [this] { return state_ == State::over; });
    }
    lock.unlock();  // before `dropped` goes: what it holds may take locks
  }

 private:
  enum class State { waiting, acting, over };

  std::mutex mutex_;
  std::condition_variable acted_;
  State state_ = State::waiting;
  std::thread::id actor_;
  Work work_;
};

// Work on its way to act. Its end is also that of what the work holds: a handle may keep the rest of it alive.
class TimerThread::DueWork {
 public:
  explicit DueWork(std::shared_ptr<TimedWork> work) : work_(std::move(work)) {}
  DueWork(const DueWork&) = delete;
  DueWork& operator=(const DueWork&) = delete;
  ~DueWork() { work_->cancel(); }

  void act() { work_->act(); }

 private:
  std::shared_ptr<TimedWork> work_;
};

class TimerThread::Handle : public ScheduledTask::Pending {
 public:
  Handle(TimerThread& timers, const Key& key, std::shared_ptr<TimedWork> work)
      : timers_(timers), key_(key), work_(std::move(work)) {}

  void cancel() noexcept override {
    timers_.forget(key_);
    work_->cancel();
  }

 private:
  TimerThread& timers_;
  Key key_;
  std::shared_ptr<TimedWork> work_;
};

TimerThread::TimerThread() {
  thread_ = std::thread([this] { run(); });
}

void TimerThread::finish() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_one();
  if (thread_.joinable()) thread_.join();
}

bool TimerThread::dropWaiting() {
  std::map<Key, Entry> dropped;
  {
    const std::lock_guard lock(mutex_);
    dropped.swap(waiting_);
  }
  for (const auto& [key, entry] : dropped) entry.work->cancel();
  return !dropped.empty();
}

ScheduledTask TimerThread::schedule(std::chrono::nanoseconds delay, Work work, MainThreadQueue* destination) {
  auto timed = std::make_shared<TimedWork>(std::move(work));
  const auto time = std::chrono::steady_clock::now() + std::min(delay, longestDelay);
  Key key;
  bool isFirst = false;
  {
    const std::lock_guard lock(mutex_);
    key = {time, ++lastNumber_};
    waiting_.emplace(key, Entry{timed, destination});
    isFirst = waiting_.begin()->first == key;
  }
  if (isFirst) changed_.notify_one();
  return ScheduledTask(std::make_unique<Handle>(*this, key, std::move(timed)));
}

void TimerThread::forget(const Key& key) {
  const std::lock_guard lock(mutex_);
  waiting_.erase(key);
}

void TimerThread::run() {
  nameThisThread("timers");
  std::unique_lock lock(mutex_);
  while (!ending_) {
    if (waiting_.empty()) {
      changed_.wait(lock);
      continue;
    }
    const auto first = waiting_.begin();
    const auto time = first->first.first;
    if (time > std::chrono::steady_clock::now()) {
      changed_.wait_until(lock, time);
      continue;
    }
    auto [work, destination] = std::move(first->second);
    waiting_.erase(first);
    lock.unlock();
    if (destination) {
      destination->add([due = std::make_shared<DueWork>(std::move(work))] { due->act(); });
    } else {
      work->act();
      work = nullptr;
    }
    lock.lock();
  }
}

}  // namespace platform::linux_desktop
