// When the gate may open.
#pragma once

#include <chrono>

namespace platform::linux_desktop {

// Knows what it is told, with the times at which it is. Not thread-safe.
class GateTiming {
 public:
  using Moment = std::chrono::steady_clock::time_point;

  // Something happened that may move the focus, or a key was held.
  void noteDisturbance(Moment now) { disturbed_ = now; }
  // The applications' keyboard takes after the hardware again.
  void noteHandedBack(Moment now) { handedBack_ = now; }

  // Longer than a capture lasts by default.
  bool wasDisturbedLately(Moment now) const { return now - disturbed_ < quietBeforeOpening; }
  // With the gate open no shortcut can be made to wait, so it opens only when even an overloaded desktop has settled.
  bool hasSettled(Moment now) const { return now - handedBack_ >= settlingBeforeOpening; }
  // The keyboard is handed back in a pause of the typing, not between two keys: each change tells every program of it.
  static bool isPause(Moment lastEmission, Moment now) { return now - lastEmission >= pauseBeforeHandingBack; }
  // Whether it is time to look again for a finger that went up unseen; if so it is noted.
  bool isTimeToRecheck(Moment now) {
    if (now - rechecked_ < recheckInterval) return false;
    rechecked_ = now;
    return true;
  }

 private:
  static constexpr std::chrono::milliseconds quietBeforeOpening{1500};
  static constexpr std::chrono::milliseconds settlingBeforeOpening{500};
  static constexpr std::chrono::milliseconds pauseBeforeHandingBack{500};
  static constexpr std::chrono::milliseconds recheckInterval{1000};

  Moment disturbed_;
  Moment handedBack_;
  Moment rechecked_;
};

}  // namespace platform::linux_desktop
