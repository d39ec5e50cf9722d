// What stands between a tracked reader and the registrars of the properties that it read.
#pragma once

#include <functional>
#include <memory>
#include <utility>

namespace varnoletKit {

// One reader's interest, from its reads to the first change. Held by its Observation; the registrars hold it weakly.
class ObservationTracking {
 public:
  explicit ObservationTracking(std::function<void()> onChange) : onChange_(std::move(onChange)) {}

  // The tracking that reads are noted for at this moment; null outside of any.
  static const std::shared_ptr<ObservationTracking>& current();

  bool isPending() const { return onChange_ != nullptr; }
  // Tells the reader, unless it was told before.
  void signal();

  // Makes a tracking the current one for as long as it lives.
  class Scope {
   public:
    explicit Scope(std::shared_ptr<ObservationTracking> tracking);
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    ~Scope();

   private:
    std::shared_ptr<ObservationTracking> outer_;
  };

 private:
  std::function<void()> onChange_;
};

}  // namespace varnoletKit
