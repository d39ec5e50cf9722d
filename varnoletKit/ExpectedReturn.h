// Which application is expected back after a theft.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

namespace varnoletKit {

// From the judgement of a theft until it is undone, or given up, or the user has decided otherwise, the keys that are
// held belong to the application that is being brought back: keys that would reach another process are held with them,
// and its own activation leaves them to the replay.
//
// Any thread. Processes are told apart by their identifiers; no process has 0.
class ExpectedReturn {
 public:
  // One intercept's part in an expectation. Intercepts that wait for the same process share one, which lasts until the
  // last of them lets go, or until it is ended.
  using Expectation = std::shared_ptr<const std::int32_t>;

  // Expects this process from now on, and no other any more.
  [[nodiscard]] Expectation expect(std::int32_t pid);
  // Expects nobody any more, whoever still waits.
  void end();
  // The same, but it has been asked back, and may still come.
  void giveUp();

  // 0 while nobody is expected.
  std::int32_t pid() const;
  // Whether it was given up, and an intercept still asks for its return.
  bool mayStillCome(std::int32_t pid) const;
  // Whether this very expectation still lasts. A later one of the same process is another.
  bool isCurrent(const Expectation& expectation) const;

 private:
  mutable std::mutex mutex_;
  std::weak_ptr<const std::int32_t> current_;
  std::weak_ptr<const std::int32_t> givenUp_;
};

}  // namespace varnoletKit
