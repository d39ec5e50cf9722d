// A short memory of what the user's keyboard and mouse did.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

#include "varnoletKit/GestureDetecting.h"
#include "varnoletKit/Guarded.h"

namespace varnoletKit {

struct TimestampedEvent {
  platform::CGEventType type = 0;
  platform::CGEventFlags flags = 0;
  double locationY = 0;
  platform::Date timestamp;
  bool isQualifyingGesture = false;

  friend bool operator==(const TimestampedEvent&, const TimestampedEvent&) = default;
};

// A ring of the latest events. A mouse button going down is a qualifying gesture, and so is a key going down with
// Command held; nothing else is.
//
// Events come from the event tap's thread, questions from the main thread. Most questions are answered from the time of
// the last gesture alone, without waiting for the ring.
class GestureDetector final : public GestureDetecting {
 public:
  // Holds the newest `capacity` events, but never fewer than 8.
  explicit GestureDetector(std::int64_t capacity);

  bool hasRecentUserGesture(std::int64_t windowMs) override;
  void recordEvent(platform::CGEventType type, platform::CGEventFlags flags, double locationY,
                   platform::Date timestamp) override;

  // Forgets the events, but not when the last gesture was.
  void reset();

 private:
  bool scan(platform::Date now, platform::Date cutoff, std::int64_t windowMs);

  std::vector<std::optional<TimestampedEvent>> buffer_;
  std::int64_t writeIndex_ = 0;
  std::int64_t count_ = 0;
  const std::int64_t capacity_;
  // Guards the ring: the three fields above. Never held together with the lock of lastGestureTime_.
  std::mutex lock_;
  Guarded<platform::Date> lastGestureTime_{platform::Date::min()};
};

}  // namespace varnoletKit
