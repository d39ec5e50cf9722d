// Who decides on every event that the tap sees.
#pragma once

#include "platform/CGEvent.h"

namespace varnoletKit {

// The event tap's thread, while the system holds the event back.
class EventTapDelegate {
 public:
  EventTapDelegate() = default;
  EventTapDelegate(const EventTapDelegate&) = delete;
  EventTapDelegate& operator=(const EventTapDelegate&) = delete;
  virtual ~EventTapDelegate() = default;

  // The event to let through, normally `event` itself; null to swallow it.
  virtual platform::CGEvent* handleTapEvent(platform::CGEventTapProxy proxy, platform::CGEventType type,
                                            platform::CGEvent& event) = 0;
};

}  // namespace varnoletKit
