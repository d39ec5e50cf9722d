#include "platform/linux/watchdog/WatchdogBoard.h"

namespace platform::linux_desktop {

void WatchdogBoard::setEmittedDown(const KeySet& keys) {
  for (std::size_t word = 0; word < emittedDown.size(); ++word) {
    std::uint32_t bits = 0;
    for (std::size_t bit = 0; bit < 32; ++bit) bits |= static_cast<std::uint32_t>(keys[word * 32 + bit]) << bit;
    emittedDown[word].store(bits, std::memory_order_relaxed);
  }
}

KeySet WatchdogBoard::emittedKeys() const {
  KeySet keys;
  for (std::size_t word = 0; word < emittedDown.size(); ++word) {
    const std::uint32_t bits = emittedDown[word].load(std::memory_order_relaxed);
    for (std::size_t bit = 0; bit < 32; ++bit) keys.set(word * 32 + bit, (bits >> bit & 1) != 0);
  }
  return keys;
}

std::uint64_t monotonicNanoseconds() {
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
          .count());
}

}  // namespace platform::linux_desktop
