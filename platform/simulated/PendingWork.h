// Work that was handed over and has not run yet.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <tuple>
#include <utility>

#include "platform/Tasks.h"

namespace platform::simulated {

// One piece of work. Any thread.
class WorkItem {
 public:
  explicit WorkItem(Work work) : work_(std::move(work)) {}
  WorkItem(const WorkItem&) = delete;
  WorkItem& operator=(const WorkItem&) = delete;

  // Runs the work on this thread, unless it was cancelled.
  void act();
  // Sees to it that the work does not start any more. False if it is acting just now on another thread.
  bool cancel();
  bool isPending() const { return isIn(State::pending); }
  bool isOver() const { return isIn(State::over); }
  // Blocks the thread for real. Only for threads that take no turns.
  void waitUntilOver();

 private:
  enum class State : std::uint8_t { pending, acting, over };

  bool isIn(State state) const;
  void end();

  mutable std::mutex mutex_;
  std::condition_variable ended_;
  State state_ = State::pending;
  std::thread::id actor_;
  Work work_;
};

// When work is due, and its place among all that is due then.
struct WorkKey {
  std::uint64_t due = 0;  // uptime nanoseconds
  std::uint64_t sequence = 0;

  friend bool operator<(const WorkKey& a, const WorkKey& b) {
    return std::tie(a.due, a.sequence) < std::tie(b.due, b.sequence);
  }
};

// The work for one thread, or for one group of threads, by due time. Any thread.
class WorkLane {
 public:
  void add(WorkKey key, std::shared_ptr<WorkItem> item);
  // The first item, if it is due.
  std::optional<WorkKey> firstDue(std::uint64_t now);
  std::shared_ptr<WorkItem> takeFirst();
  // When something falls due next, after `now`.
  std::optional<std::uint64_t> nextDueAfter(std::uint64_t now) const;
  bool isEmpty();
  // Drops everything; false if there was nothing.
  bool clear();

 private:
  void forgetCancelled();

  mutable std::mutex mutex_;
  std::map<WorkKey, std::shared_ptr<WorkItem>> items_;
};

}  // namespace platform::simulated
