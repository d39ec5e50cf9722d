#include "varnoletKit/Observation.h"

#include <cassert>

#include "platform/Tasks.h"
#include "varnoletKit/ObservationTracking.h"

namespace varnoletKit {
namespace {

std::shared_ptr<ObservationTracking>& currentTracking() {
  static std::shared_ptr<ObservationTracking> tracking;
  return tracking;
}

// A body that runs again after each change of what it read.
class RepeatedBody {
 public:
  explicit RepeatedBody(std::function<void()> body) : body_(std::move(body)) {}

  // Holds the body only while it runs: whoever releases it meanwhile ends the repetition.
  static void run(const std::weak_ptr<RepeatedBody>& held) {
    while (const auto self = held.lock()) {
      if (self->isRunning_) {
        self->isOutdated_ = true;
        return;
      }
      self->isRunning_ = true;
      self->isOutdated_ = false;
      self->nextChange_ = withObservationTracking(self->body_, [held] { run(held); });
      self->isRunning_ = false;
      if (!self->isOutdated_) return;
    }
  }

 private:
  std::function<void()> body_;
  Observation nextChange_;
  bool isRunning_ = false;
  bool isOutdated_ = false;
};

}  // namespace

const std::shared_ptr<ObservationTracking>& ObservationTracking::current() {
  return currentTracking();
}

void ObservationTracking::signal() {
  const auto onChange = std::exchange(onChange_, nullptr);
  if (!onChange) return;
  const Scope untracked(nullptr);  // what the reader does now is not a read of whoever made the change
  onChange();
}

ObservationTracking::Scope::Scope(std::shared_ptr<ObservationTracking> tracking)
    : outer_(std::exchange(currentTracking(), std::move(tracking))) {}

ObservationTracking::Scope::~Scope() {
  currentTracking() = std::move(outer_);
}

Observation withObservationTracking(const std::function<void()>& apply, std::function<void()> onChange) {
  assert(platform::isMainThread());
  auto tracking = std::make_shared<ObservationTracking>(std::move(onChange));
  const ObservationTracking::Scope tracked(tracking);
  apply();
  return Observation(std::move(tracking));
}

Observation observe(std::function<void()> body) {
  auto repeated = std::make_shared<RepeatedBody>(std::move(body));
  RepeatedBody::run(repeated);
  return Observation(std::move(repeated));
}

}  // namespace varnoletKit
