// Whether the user did something just now that may have brought an application to the front.
#pragma once

#include <cstdint>

#include "platform/CGEvent.h"
#include "platform/Tasks.h"

namespace varnoletKit {

// Any thread.
class GestureDetecting {
 public:
  GestureDetecting() = default;
  GestureDetecting(const GestureDetecting&) = delete;
  GestureDetecting& operator=(const GestureDetecting&) = delete;
  virtual ~GestureDetecting() = default;

  // True if a qualifying gesture happened within the last `windowMs` milliseconds, the edge included.
  virtual bool hasRecentUserGesture(std::int64_t windowMs) = 0;
  // `locationY` in pixels from the top of the screen; `timestamp` is when the event happened.
  virtual void recordEvent(platform::CGEventType type, platform::CGEventFlags flags, double locationY,
                           platform::Date timestamp) = 0;
};

}  // namespace varnoletKit
