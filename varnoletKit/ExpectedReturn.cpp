#include "varnoletKit/ExpectedReturn.h"

#include <utility>

namespace varnoletKit {

ExpectedReturn::Expectation ExpectedReturn::expect(std::int32_t pid) {
  const std::lock_guard lock(mutex_);
  auto expectation = current_.lock();
  if (!expectation || *expectation != pid) {
    expectation = std::make_shared<const std::int32_t>(pid);
    current_ = expectation;
  }
  return expectation;
}

void ExpectedReturn::end() {
  const std::lock_guard lock(mutex_);
  current_.reset();
  givenUp_.reset();
}

void ExpectedReturn::giveUp() {
  const std::lock_guard lock(mutex_);
  givenUp_ = std::exchange(current_, {});
}

std::int32_t ExpectedReturn::pid() const {
  const std::lock_guard lock(mutex_);
  const auto expectation = current_.lock();
  return expectation ? *expectation : 0;
}

bool ExpectedReturn::mayStillCome(std::int32_t pid) const {
  const std::lock_guard lock(mutex_);
  const auto expectation = givenUp_.lock();
  return expectation && *expectation == pid;
}

bool ExpectedReturn::isCurrent(const Expectation& expectation) const {
  const std::lock_guard lock(mutex_);
  return current_.lock() == expectation;
}

}  // namespace varnoletKit
