#include "platform/simulated/PendingWork.h"

namespace platform::simulated {

void WorkItem::act() {
  {
    const std::lock_guard lock(mutex_);
    if (state_ != State::pending) return;
    state_ = State::acting;
    actor_ = std::this_thread::get_id();
  }
  // Also when the work is unwound.
  struct End {
    WorkItem& item;
    ~End() { item.end(); }
  } const end{*this};
  work_();
}

// The work is destroyed while it still counts as acting here: what it owns may cancel it once more.
void WorkItem::end() {
  work_ = nullptr;
  const std::lock_guard lock(mutex_);
  state_ = State::over;
  ended_.notify_all();
}

bool WorkItem::cancel() {
  Work dropped;  // destroyed without the lock
  const std::lock_guard lock(mutex_);
  if (state_ == State::acting) return actor_ == std::this_thread::get_id();
  state_ = State::over;
  dropped.swap(work_);
  return true;
}

void WorkItem::waitUntilOver() {
  std::unique_lock lock(mutex_);
  ended_.wait(lock, [this] { return state_ == State::over; });
}

bool WorkItem::isIn(State state) const {
  const std::lock_guard lock(mutex_);
  return state_ == state;
}

void WorkLane::add(WorkKey key, std::shared_ptr<WorkItem> item) {
  const std::lock_guard lock(mutex_);
  items_.emplace(key, std::move(item));
}

std::optional<WorkKey> WorkLane::firstDue(std::uint64_t now) {
  const std::lock_guard lock(mutex_);
  forgetCancelled();
  if (items_.empty() || items_.begin()->first.due > now) return std::nullopt;
  return items_.begin()->first;
}

std::shared_ptr<WorkItem> WorkLane::takeFirst() {
  const std::lock_guard lock(mutex_);
  return items_.extract(items_.begin()).mapped();
}

std::optional<std::uint64_t> WorkLane::nextDueAfter(std::uint64_t now) const {
  const std::lock_guard lock(mutex_);
  for (const auto& [key, item] : items_) {
    if (key.due > now && item->isPending()) return key.due;
  }
  return std::nullopt;
}

bool WorkLane::isEmpty() {
  const std::lock_guard lock(mutex_);
  forgetCancelled();
  return items_.empty();
}

bool WorkLane::clear() {
  std::map<WorkKey, std::shared_ptr<WorkItem>> dropped;  // destroyed without the lock
  {
    const std::lock_guard lock(mutex_);
    dropped.swap(items_);
  }
  for (const auto& [key, item] : dropped) item->cancel();
  return !dropped.empty();
}

// Cancelled items are empty shells; they go when they come first.
void WorkLane::forgetCancelled() {
  while (!items_.empty() && !items_.begin()->second->isPending()) items_.erase(items_.begin());
}

}  // namespace platform::simulated
