// The lines that another process writes, as they come in.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tools/stage/Waiting.h"

namespace stage {

// Reads a file descriptor, which it owns, on a thread of its own until its other end is closed. Safe to use from any
// thread. Destroy it only once that end is closed or about to be: it waits for it.
class Lines {
 public:
  // Called for each line on the reading thread, before the line can be found here.
  using Listener = std::function<void(const std::string& line)>;

  explicit Lines(int descriptor, Listener listener = nullptr);
  Lines(const Lines&) = delete;
  Lines& operator=(const Lines&) = delete;
  ~Lines();

  // The first line at or after line number `from` that contains `part`, waited for.
  std::optional<std::string> waitFor(const std::string& part, std::size_t from = 0,
                                     std::chrono::milliseconds limit = patience);
  std::size_t count() const;
  // How many lines so far contain `part`.
  std::size_t countOf(const std::string& part) const;
  std::vector<std::string> all() const;
  // Everything, for the message of a failed expectation.
  std::string text() const;

 private:
  void read();

  int descriptor_;
  Listener listener_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> lines_;
  bool ended_ = false;
  std::thread reader_;
};

}  // namespace stage
