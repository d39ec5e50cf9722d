// What the guard and its watchdog process share.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>

#include "platform/linux/x11/Keys.h"

namespace platform::linux_desktop {

// Lies in memory that both processes map; all zero at the start. The guard writes, the watchdog reads.
struct WatchdogBoard {
  // When the thread that holds was last seen alive, in nanoseconds of the monotonic clock.
  std::atomic<std::uint64_t> beat;
  // Keys are kept from the applications: the gate is closed, or a window of the guard grabs.
  std::atomic<bool> isHolding;
  // That window; 0 with a gate.
  std::atomic<std::uint32_t> grabWindow;
  // A resource by which the server knows the guard's connection that grabs. Its descriptor comes with a call.
  std::atomic<std::uint32_t> resource;
  // The keys that the guard has pressed through XTEST and not released, 32 in a word.
  std::array<std::atomic<std::uint32_t>, 8> emittedDown;

  void setEmittedDown(const KeySet& keys);
  KeySet emittedKeys() const;
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

// The guard sends calls, which the watchdog answers with a byte each time that it has read some; it also sends one when
// it begins. The descriptors that the watchdog process finds open when it starts.
inline constexpr int watchdogBoardDescriptor = 3;
inline constexpr int watchdogStreamDescriptor = 4;
inline constexpr char watchdogProgram[] = "varnolet-watchdog";

std::uint64_t monotonicNanoseconds();

}  // namespace platform::linux_desktop
