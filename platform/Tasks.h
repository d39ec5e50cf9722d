// Work for later or for another thread, and the clocks that it goes by.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace platform {

// A wall-clock time, as records hold it.
using Date = std::chrono::system_clock::time_point;
Date dateNow();

// A monotonic clock.
struct DispatchTime {
  std::uint64_t uptimeNanoseconds = 0;
  static DispatchTime now();
};

// A pending piece of work. Destroying or cancelling the handle means that the work will not act afterwards, whatever
// thread it was about to act on: cancelling waits for work that is acting just then on another thread, and returns at
// once on the thread that it acts on. So never cancel while holding a lock that the work takes.
class ScheduledTask {
 public:
  class Pending {
   public:
    Pending() = default;
    Pending(const Pending&) = delete;
    Pending& operator=(const Pending&) = delete;
    virtual ~Pending() = default;
    virtual void cancel() noexcept = 0;
  };

  ScheduledTask() = default;
  explicit ScheduledTask(std::unique_ptr<Pending> pending) : pending_(std::move(pending)) {}
  ScheduledTask(ScheduledTask&&) noexcept = default;
  ScheduledTask& operator=(ScheduledTask&& other) noexcept {
    if (this == &other) return *this;
    cancel();
    pending_ = std::move(other.pending_);
    return *this;
  }
  ~ScheduledTask() { cancel(); }

  void cancel() noexcept {
    if (const auto pending = std::exchange(pending_, nullptr)) pending->cancel();
  }
  // False for a handle that never had work, or whose work was cancelled.
  explicit operator bool() const { return pending_ != nullptr; }

 private:
  std::unique_ptr<Pending> pending_;
};

enum class QualityOfService { userInteractive, userInitiated, standard };

using Work = std::function<void()>;

// Any thread. Work for the main thread runs in the order in which it was handed over, never inside the call.
void runOnMainThread(Work work);
[[nodiscard]] ScheduledTask runOnMainThreadAfter(std::chrono::nanoseconds delay, Work work);
void runInBackground(QualityOfService quality, Work work);
[[nodiscard]] ScheduledTask runInBackgroundAfter(std::chrono::nanoseconds delay, Work work);
bool isMainThread();
// Blocks the calling thread.
void sleepForTimeInterval(double seconds);

// Runs its work one piece after another on a thread of its own. Destroying it waits for all work handed over.
class DispatchQueue {
 public:
  DispatchQueue() = default;
  DispatchQueue(const DispatchQueue&) = delete;
  DispatchQueue& operator=(const DispatchQueue&) = delete;
  virtual ~DispatchQueue() = default;

  // Waits until the work is done. Not from the queue's own work.
  virtual void sync(const Work& work) = 0;
  virtual void async(Work work) = 0;
};
std::unique_ptr<DispatchQueue> dispatchQueueCreate(const std::string& label, QualityOfService quality);

}  // namespace platform
