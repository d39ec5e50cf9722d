// A value and the lock that guards exactly this value.
#pragma once

#include <mutex>
#include <utility>

namespace varnoletKit {

template <class T>
class Guarded {
 public:
  explicit Guarded(T value) : value_(std::move(value)) {}

  T get() const {
    const std::lock_guard lock(mutex_);
    return value_;
  }
  void set(T value) {
    const std::lock_guard lock(mutex_);
    value_ = std::move(value);
  }
  // Stores `value` and returns the one before, as one step.
  T exchange(T value) {
    const std::lock_guard lock(mutex_);
    return std::exchange(value_, std::move(value));
  }

 private:
  mutable std::mutex mutex_;
  T value_;
};

}  // namespace varnoletKit
