// Waiting for a condition, never for a time: a slow machine makes a test slower, not wrong.
#pragma once

#include <chrono>
#include <thread>

namespace stage {

// Far more than anything here takes; reached only by what never happens.
inline constexpr std::chrono::seconds patience{20};

// Asks until `condition` holds; false if it did not within `limit`.
template <class Condition>
[[nodiscard]] bool eventually(const Condition& condition, std::chrono::milliseconds limit = patience) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace stage
