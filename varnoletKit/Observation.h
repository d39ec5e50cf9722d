// Observing: learning of changes of the observable properties that a function read.
//
//   redraw_ = observe([this] { label_->setText(text(state_->blockedToday())); });
//
// Observable are the properties of FocusGuardState and of the managers that say so. All of it belongs to the main
// thread.
#pragma once

#include <functional>
#include <memory>
#include <utility>

namespace varnoletKit {

// The life of one observation: destroying or cancelling it means that its functions are not called again, not even for
// a change that others are just being told of. It may end inside its own functions.
class [[nodiscard]] Observation {
 public:
  Observation() = default;
  explicit Observation(std::shared_ptr<void> interest) : interest_(std::move(interest)) {}

  void cancel() { interest_ = nullptr; }

 private:
  std::shared_ptr<void> interest_;
};

// Runs `apply` and calls `onChange` at the first change of any property that it read: once, inside the write, after the
// value was stored. Reads inside an inner observation belong to the inner one alone.
Observation withObservationTracking(const std::function<void()>& apply, std::function<void()> onChange);

// Runs `body` now and again after every change of a property that its last run read. A body that changes what it reads
// runs once more when it has returned, so it must settle.
Observation observe(std::function<void()> body);

}  // namespace varnoletKit
